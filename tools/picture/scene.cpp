#include "picture/scene.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "common/element_kinds.hpp"
#include "common/exit_codes.hpp"
#include "picture/batch.hpp"
#include "picture/coloring.hpp"

namespace morvex::picture {
namespace {

using tools::Choice;
using tools::Contents;
using tools::Failure;

/// Nodes of the surface; in a solid most are inside and are not seen.
Box boxOf(const DrawnPart& part) {
  Box box;
  for (const std::uint32_t node : part.surface.nodes) box.add(part.nodes[node]);
  for (const auto& line : part.surface.lines) {
    for (const std::uint32_t node : line.nodes) box.add(part.nodes[node]);
  }
  for (const auto& point : part.surface.points) box.add(part.nodes[point.node]);
  return box;
}

/// A part as the file has it.
struct StoredPart {
  DrawnPart drawn;
  morvex_part facts;
  Cells cells;
  std::vector<std::int32_t> facesPerPolyhedron;
  std::vector<std::int32_t> nodesPerFace;
  bool isWall = false;  ///< all of it is on the sides of the model's box
};

std::array<std::int32_t, 3> blockExtents(const morvex_part& part) {
  std::array<std::int32_t, 3> extents{part.extents[0], part.extents[1], part.extents[2]};
  std::uint64_t product = 1;
  for (const std::int32_t extent : extents) {
    // Neither factor has more than 32 bits as long as the product is one of a part's nodes.
    product *= extent > 0 && product <= part.nodes ? static_cast<std::uint64_t>(extent) : 0;
  }
  return product == part.nodes ? extents : std::array<std::int32_t, 3>{};
}

class SceneReader {
 public:
  SceneReader(const std::string& path, const File& file, const Wish& wish)
      : path_(path),
        file_(file),
        contents_(tools::readContents(file)),
        choice_(wish.selection, file, contents_),
        coloring_(file, contents_, choice_, wish) {}

  Scene run() {
    chooseSteps();
    readCells();
    if (!choice_.namesParts()) leaveOutCoveredSolids();
    readNodes();
    if (!choice_.namesParts()) leaveOutWalls();
    for (StoredPart& part : stored_) scene_.parts.push_back(std::move(part.drawn));
    std::erase_if(scene_.parts, [](const DrawnPart& part) { return boxOf(part).empty(); });
    if (!choice_.namesParts()) readParticles();
    frame();
    coloring_.apply(scene_, geometryStep_);
    return std::move(scene_);
  }

 private:
  /// The steps of model and particles that belong to the one that is shown.
  void chooseSteps() {
    const auto& [model, particles] =
        std::pair(contents_.summary.model, contents_.summary.particles);
    // The variable decides where the user names one; geometry follows by time.
    const StepChoice chosen = coloring_.chooseStep();
    scene_.step = chosen.step;
    scene_.time = chosen.time;
    scene_.isTimed = chosen.isTimed;
    geometryStep_ = chosen.geometryStep.value_or(nearestStep(contents_, model, chosen.time));
    particleStep_ = chosen.particleStep.value_or(nearestStep(contents_, particles, chosen.time));
  }

  void readCells() {
    // Cells first and for all parts: which nodes and values are needed depends on them.
    Batch batch(file_);
    const std::vector<morvex_part> parts = tools::readParts(file_, geometryStep_);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (!choice_.hasPart(static_cast<int>(i), parts[i].name)) continue;
      StoredPart& part = stored_.emplace_back();
      part.facts = parts[i];
      part.drawn.number = static_cast<int>(i);
      part.drawn.name = parts[i].name;
    }
    for (StoredPart& part : stored_) {
      if (part.facts.is_block != 0) continue;
      const auto add = [&](morvex_kind kind, auto& target) {
        batch.add(request(kind, geometryStep_, part.drawn.number), target);
      };
      add(MORVEX_CELL_OFFSETS, part.cells.offsets);
      add(MORVEX_CELL_CONNECTIVITY, part.cells.connectivity);
      add(MORVEX_CELL_TYPES, part.cells.types);
      if (part.facts.elements[tools::kNFaced] == 0) continue;
      add(MORVEX_FACES_PER_POLYHEDRON, part.facesPerPolyhedron);
      add(MORVEX_NODES_PER_FACE, part.nodesPerFace);
    }
    batch.read();
    for (StoredPart& part : stored_) {
      try {
        part.drawn.surface =
            part.facts.is_block != 0
                ? surfaceOfBlock(blockExtents(part.facts))
                : surfaceOf({part.cells.offsets, part.cells.connectivity, part.cells.types,
                             part.facesPerPolyhedron, part.nodesPerFace});
      } catch (const std::invalid_argument& failure) {
        throw Failure(tools::kDataError,
                      path_ + ": part '" + part.drawn.name + "': " + failure.what());
      }
      // The tables of a large model are larger than its surface by far.
      part.cells = {};
      part.facesPerPolyhedron = part.nodesPerFace = {};
    }
    std::erase_if(stored_, [](const StoredPart& part) { return part.drawn.surface.empty(); });
  }

  /// The boundaries of a flow, for example: they are seen in place of the solids.
  void leaveOutCoveredSolids() {
    std::size_t outer = 0;
    std::size_t flat = 0;
    for (const StoredPart& part : stored_) {
      outer += part.drawn.surface.outerFaces;
      flat += part.drawn.surface.faceCount() - part.drawn.surface.outerFaces;
    }
    // By number alone: parts have nodes of their own, and coordinates of another precision.
    if (outer != flat) return;
    std::erase_if(stored_,
                  [](const StoredPart& part) { return part.drawn.surface.outerFaces != 0; });
  }

  void readNodes() {
    std::vector<std::vector<float>> coordinates(stored_.size());
    Batch batch(file_);
    for (std::size_t i = 0; i < stored_.size(); ++i) {
      morvex_request of = request(MORVEX_COORDINATES, geometryStep_, stored_[i].drawn.number);
      of.layout = MORVEX_INTERLEAVED;
      batch.add(of, coordinates[i]);
    }
    batch.read();
    for (std::size_t i = 0; i < stored_.size(); ++i) {
      stored_[i].drawn.nodes = pointsOf(coordinates[i]);
      coordinates[i] = {};
    }
  }

  static std::vector<Vector> pointsOf(const std::vector<float>& coordinates) {
    std::vector<Vector> points(coordinates.size() / 3);
    for (std::size_t i = 0; i < points.size(); ++i) {
      points[i] = {coordinates[3 * i], coordinates[3 * i + 1], coordinates[3 * i + 2]};
    }
    return points;
  }

  /// The walls of a wind tunnel, for example, which would hide what is in it.
  void leaveOutWalls() {
    Box whole;
    for (const StoredPart& part : stored_) whole.add(boxOf(part.drawn));
    if (whole.empty()) return;
    // Coordinates are quantised part by part: sides agree to a ten-thousandth of the model's size.
    const float near = 1e-4F * length(whole.extent());
    const auto isOnSide = [&](Vector p) {
      const auto isNear = [near](float a, float b) { return std::abs(a - b) <= near; };
      return isNear(p.x, whole.least.x) || isNear(p.x, whole.most.x) ||
             isNear(p.y, whole.least.y) || isNear(p.y, whole.most.y) ||
             isNear(p.z, whole.least.z) || isNear(p.z, whole.most.z);
    };
    Box rest;
    for (StoredPart& part : stored_) {
      part.isWall = std::ranges::all_of(part.drawn.surface.nodes, [&](std::uint32_t node) {
        return isOnSide(part.drawn.nodes[node]);
      });
      if (!part.isWall) rest.add(boxOf(part.drawn));
    }
    // A box without its lid is no car in a tunnel: what is left must be much smaller.
    if (rest.empty() || 2 * length(rest.extent()) >= length(whole.extent())) return;
    std::erase_if(stored_, [](const StoredPart& part) { return part.isWall; });
    scene_.isFlow = true;
  }

  void readParticles() {
    if (contents_.summary.particles.change == MORVEX_ABSENT) return;
    if (file_.particleCount(particleStep_) == 0) return;  // there may be more at other steps
    morvex_request of = request(MORVEX_PARTICLE_COORDINATES, particleStep_);
    of.layout = MORVEX_INTERLEAVED;
    std::vector<float> coordinates;
    Batch batch(file_);
    batch.add(of, coordinates);
    batch.read();
    scene_.particles = pointsOf(coordinates);
  }

  void frame() {
    Box solids;
    for (const DrawnPart& part : scene_.parts) {
      const Box box = boxOf(part);
      scene_.box.add(box);
      if (part.surface.outerFaces != 0) solids.add(box);
    }
    std::size_t inside = 0;
    for (const Vector& particle : scene_.particles) {
      scene_.box.add(particle);
      // Inside if it does not make the box larger.
      Box with = solids;
      with.add(particle);
      inside += length(with.extent()) <= length(solids.extent()) ? 1 : 0;
    }
    // Most of them: some that splash out of a tank change nothing.
    scene_.isInside = 2 * inside > scene_.particles.size();
    if (scene_.box.empty()) {
      throw Failure(tools::kDataError, path_ + ": nothing to draw: no elements with coordinates");
    }
  }

  const std::string& path_;
  const File& file_;
  const Contents contents_;
  const Choice choice_;
  Coloring coloring_;
  int geometryStep_ = 0;
  int particleStep_ = 0;
  std::vector<StoredPart> stored_;
  Scene scene_;
};

}  // namespace

Scene readScene(const std::string& path, const File& file, const Wish& wish) {
  try {
    return SceneReader(path, file, wish).run();
  } catch (const Error& failure) {
    throw Failure(failure.code() == MORVEX_OUT_OF_MEMORY ? tools::kOutputFailed : tools::kDataError,
                  path + ": " + failure.what());
  }
}

}  // namespace morvex::picture
