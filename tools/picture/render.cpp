#include "picture/render.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

#include "common/batch_reader.hpp"
#include "picture/canvas.hpp"
#include "picture/legend.hpp"

namespace morvex::picture {
namespace {

/// Samples of a pixel in each direction: as many as 16 million pixels of the canvas allow, which
/// take about 120 MiB.
int samplesFor(Size size) {
  constexpr long long kMostPixels = 16'000'000;
  const long long pixels = static_cast<long long>(size.width) * size.height;
  int samples = 4;
  while (samples > 1 && pixels * samples * samples > kMostPixels) --samples;
  return samples;
}

/// By Newell: right for polygons that are bent as well. Its length is twice the area.
Vector normalOf(const std::vector<Vector>& nodes, std::span<const std::uint32_t> face) {
  Vector sum;
  for (std::size_t i = 0; i < face.size(); ++i) {
    sum = sum + cross(nodes[face[i]] - nodes[face[0]],
                      nodes[face[(i + 1) % face.size()]] - nodes[face[0]]);
  }
  return sum;
}

class PartPainter {
 public:
  /// All are borrowed.
  PartPainter(const Scene& scene, const DrawnPart& part, const View& view, Canvas& canvas)
      : scene_(scene), part_(part), view_(view), canvas_(canvas), placed_(part.nodes.size()) {
    for (std::size_t i = 0; i < placed_.size(); ++i) placed_[i] = view.placed(part.nodes[i]);
    paint_.isMapped = !scene.variable.empty() && !part.values.empty();
    paint_.color =
        scene.variable.empty() ? distinctColor(static_cast<std::size_t>(part.number)) : kMissing;
  }

  void faces() {
    const Surface& surface = part_.surface;
    normals_.resize(surface.faceCount());
    for (std::size_t face = 0; face < normals_.size(); ++face) {
      normals_[face] = normalized(view_.turned(normalOf(part_.nodes, surface.face(face))));
    }
    listFacesOfNodes();
    for (std::size_t face = 0; face < normals_.size(); ++face) {
      const bool isOuter = face < surface.outerFaces;
      if (scene_.isInside && isOuter && normals_[face].z > 0) continue;
      drawFace(face);
    }
  }

  void edges(float width) {
    const Surface& surface = part_.surface;
    for (std::size_t face = 0; face < surface.faceCount(); ++face) {
      const auto nodes = surface.face(face);
      for (std::size_t i = 0; i < nodes.size(); ++i) {
        Corner a = corner(nodes[i], 0);
        Corner b = corner(nodes[(i + 1) % nodes.size()], 0);
        // Nearer than the faces that it bounds, by the depth of two pixels.
        a.place.z += 2 / view_.scale();
        b.place.z += 2 / view_.scale();
        canvas_.line(a, b, width, {false, mixed(kInk, {255, 255, 255}, 0.15F)});
      }
    }
  }

  void linesAndPoints(float width) {
    for (const auto& line : part_.surface.lines) {
      canvas_.line(corner(line.nodes[0], line.cell), corner(line.nodes[1], line.cell), width,
                   paint_);
    }
    for (const auto& point : part_.surface.points) {
      canvas_.ball(corner(point.node, point.cell), width, 1 / view_.scale(), paint_);
    }
  }

 private:
  [[nodiscard]] Corner corner(std::uint32_t node, std::uint32_t cell) const {
    Corner made;
    made.place = placed_[node];
    if (paint_.isMapped) {
      const auto [least, most] = scene_.range;
      const float value = part_.values[part_.isPerNode ? node : cell];
      made.value = most > least ? (value - least) / (most - least) : value - least;
    }
    return made;
  }

  void listFacesOfNodes() {
    const Surface& surface = part_.surface;
    firstFaces_.assign(part_.nodes.size() + 1, 0);
    for (const std::uint32_t node : surface.nodes) ++firstFaces_[node + 1];
    std::partial_sum(firstFaces_.begin(), firstFaces_.end(), firstFaces_.begin());
    facesOfNodes_.resize(surface.nodes.size());
    std::vector<std::size_t> ends(firstFaces_.begin(), firstFaces_.end() - 1);
    for (std::size_t face = 0; face < surface.faceCount(); ++face) {
      for (const std::uint32_t node : surface.face(face)) {
        facesOfNodes_[ends[node]++] = static_cast<std::uint32_t>(face);
      }
    }
  }

  /// Smooth over neighbours that are not inclined by more than 37 degrees: there the part has an
  /// edge.
  [[nodiscard]] Vector normalAt(std::uint32_t node, Vector ofFace) const {
    constexpr float kRoundest = 0.8F;  // cosine of the angle
    // Meshes have a dozen faces around a node; a damaged one may have all of them around one.
    constexpr std::size_t kMostNeighbours = 64;
    if (firstFaces_[node + 1] - firstFaces_[node] > kMostNeighbours) return ofFace;
    Vector sum;
    for (std::size_t i = firstFaces_[node]; i < firstFaces_[node + 1]; ++i) {
      const Vector normal = normals_[facesOfNodes_[i]];
      const float cosine = dot(normal, ofFace);
      // Neighbours may be stored in either sense of rotation.
      if (std::abs(cosine) >= kRoundest) sum = sum + normal * std::copysign(1.0F, cosine);
    }
    return sum;
  }

  /// How much farther a face is drawn than it is, so that of two in one place always the same is
  /// seen: elements on the sides of solids, and of the two sides of a thin sheet the one with the
  /// material behind it.
  [[nodiscard]] float setBack(std::size_t face) const {
    const float step = 1e-3F * length(scene_.box.extent());
    const bool isSeenFromBehind = (normals_[face].z > 0) == scene_.isFlow;
    return (face < part_.surface.outerFaces ? 2 * step : 0) + (isSeenFromBehind ? step : 0);
  }

  void drawFace(std::size_t face) {
    const auto nodes = part_.surface.face(face);
    if (nodes.size() < 3) return;
    const float back = setBack(face);
    const auto lit = [&](std::uint32_t node) {
      Corner made = corner(node, part_.surface.cells[face]);
      made.place.z -= back;
      made.normal = normalAt(node, normals_[face]);
      return made;
    };
    // From a corner that is chosen by its place: where two sides of a thin sheet have the same
    // nodes in opposite order, bent faces are split along the same diagonals.
    const auto before = [&](std::uint32_t a, std::uint32_t b) {
      const Vector& p = part_.nodes[a];
      const Vector& q = part_.nodes[b];
      return std::tie(p.x, p.y, p.z) < std::tie(q.x, q.y, q.z);
    };
    const auto start =
        static_cast<std::size_t>(std::ranges::min_element(nodes, before) - nodes.begin());
    const Corner first = lit(nodes[start]);
    Corner second = lit(nodes[(start + 1) % nodes.size()]);
    for (std::size_t i = 2; i < nodes.size(); ++i) {
      const Corner third = lit(nodes[(start + i) % nodes.size()]);
      canvas_.triangle(first, second, third, paint_);
      second = third;
    }
  }

  const Scene& scene_;
  const DrawnPart& part_;
  const View& view_;
  Canvas& canvas_;
  std::vector<Vector> placed_;           ///< of the nodes
  std::vector<Vector> normals_;          ///< of the faces, length 1
  std::vector<std::size_t> firstFaces_;  ///< of each node, in the list that follows
  std::vector<std::uint32_t> facesOfNodes_;
  Paint paint_;
};

void paintParticles(const Scene& scene, const View& view, float radius, Canvas& canvas) {
  const auto [least, most] = scene.range;
  const bool isMapped = !scene.particleValues.empty();
  for (std::size_t i = 0; i < scene.particles.size(); ++i) {
    Corner centre;
    centre.place = view.placed(scene.particles[i]);
    if (isMapped) {
      const float value = scene.particleValues[i] - least;
      centre.value = most > least ? value / (most - least) : value;
    }
    canvas.ball(centre, radius, 1 / view.scale(), {isMapped, kParticles});
  }
}

/// What is drawn, in view space: tighter than the box of the model, turned.
Box turnedBox(const Scene& scene, const View& view) {
  Box box;
  for (const DrawnPart& part : scene.parts) {
    for (const std::uint32_t node : part.surface.nodes) box.add(view.turned(part.nodes[node]));
    for (const auto& line : part.surface.lines) {
      for (const std::uint32_t node : line.nodes) box.add(view.turned(part.nodes[node]));
    }
    for (const auto& point : part.surface.points) box.add(view.turned(part.nodes[point.node]));
  }
  for (const Vector& particle : scene.particles) box.add(view.turned(particle));
  return box;
}

/// Of a detail, what is around it reaches beyond the area for the model.
void clearBeside(Image& image, const Layout& layout) {
  const auto right = static_cast<int>(layout.otherCorner.x);
  for (int y = 0; y < image.size().height; ++y) {
    for (int x = right; x < image.size().width; ++x) image.set(x, y, {}, 0);
  }
}

Box focusBox(const Focus& focus, const View& view) {
  const Vector half{focus.radius, focus.radius, focus.radius};
  Box box;
  box.add(view.turned(focus.centre) - half);
  box.add(view.turned(focus.centre) + half);
  return box;
}

}  // namespace

Image render(const Scene& scene, const Style& style) {
  View view(style.direction.value_or(usualDirection(scene.box)));
  const Layout layout = layoutOf(scene, style);
  const int samples = samplesFor(style.size);
  const auto sampled = [samples](Place place) {
    return Place{place.x * static_cast<float>(samples), place.y * static_cast<float>(samples)};
  };
  const Box shown = style.focus ? focusBox(*style.focus, view) : turnedBox(scene, view);
  view.fit(shown, sampled(layout.corner), sampled(layout.otherCorner));
  Canvas canvas({style.size.width * samples, style.size.height * samples});
  // A line is as wide as it would be in print, whatever the picture's size.
  const float unit =
      static_cast<float>(std::min(style.size.width, style.size.height) * samples) / 1000;
  for (const DrawnPart& part : scene.parts) {
    if (tools::isInterrupted()) throw tools::Interrupted{};
    PartPainter painter(scene, part, view, canvas);
    painter.faces();
    painter.linesAndPoints(std::max(4 * unit, 1.0F));
  }
  // Their size says nothing about the particles: no file has it.
  paintParticles(scene, view, std::max(5 * unit, 1.0F), canvas);
  // After the faces and before the edges, which would count as folds.
  const float modelSize = length(scene.box.extent());
  canvas.darkenFolds(std::max(1, static_cast<int>(std::lround(2 * unit))), modelSize / 150);
  if (style.hasEdges) {
    for (const DrawnPart& part : scene.parts) {
      PartPainter(scene, part, view, canvas).edges(std::max(unit, 1.0F));
    }
  }
  Image image = canvas.reduced(samples);
  if (!style.isPlain) {
    if (style.focus) clearBeside(image, layout);
    image.fillBackground({255, 255, 255}, {226, 231, 238});
    decorate(image, scene, style, view, layout);
  }
  return image;
}

}  // namespace morvex::picture
