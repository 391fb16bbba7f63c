#include "writer/zoo.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "writer/element_shapes.hpp"
#include "writer/zoo_shapes.hpp"

namespace morvex::Writer {
namespace {

/// A few, so that a mix-up of first and last shows.
constexpr int kElementsPerType = 3;
constexpr int kFixedTypes = 30;
// Element types.
constexpr int kTriangles = 6;
constexpr int kQuads = 10;
constexpr int kHexahedra = 26;
constexpr double kSpacing = 1.5;  // between elements of side 1

// Types of variables, with their components.
constexpr std::uint32_t kScalar = 1;
constexpr std::uint32_t kVector = 2;
constexpr std::uint32_t kSymmetric = 3;
constexpr std::uint32_t kTensor = 4;
constexpr std::array<int, 5> kComponents{0, 1, 3, 6, 9};

constexpr auto kNode = Location::kPerNode;
constexpr auto kElement = Location::kPerElement;

float asFloat(double value) {
  return static_cast<float>(value);
}

/// Four steps a second.
float timeOf(int step) {
  return 0.25F * static_cast<float>(step);
}

/// Any smooth number that differs for each array.
float valueAt(const ValueKey& key, std::size_t place) {
  const double x = static_cast<double>(place) + 3.0 * key.part + 0.7 * key.component;
  const double phase = 0.11 * x + 0.5 * key.step + (key.imaginary ? 1.5 : 0.0);
  return asFloat(20.0 + 0.2 * key.elementType + 10.0 * std::sin(phase));
}

/// Collects the nodes and elements of a part at a step.
class Mesh {
 public:
  /// Adds a node and returns its stored number.
  std::int32_t node(const Point& at, const Point& offset) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      axes_[axis].push_back(asFloat(at[axis] + offset[axis]));
    }
    return static_cast<std::int32_t>(axes_[0].size());  // stored numbers count from 1
  }

  std::vector<std::int32_t> nodes(const std::vector<Point>& points, const Point& offset) {
    std::vector<std::int32_t> numbers;
    for (const Point& point : points) numbers.push_back(node(point, offset));
    return numbers;
  }

  /// Stores all added nodes as those of the part at a step.
  void putNodes(PartBuilder& part, int step) const {
    part.nodes(axes_[0], axes_[1], axes_[2], step);
  }

 private:
  std::array<std::vector<float>, 3> axes_;
};

void append(std::vector<std::int32_t>& to, const std::vector<std::int32_t>& more) {
  to.insert(to.end(), more.begin(), more.end());
}

/// A row of shapes along x, with the ghosts beside them. Elements share no nodes, so that each can be
/// told apart in a picture.
void putElements(PartBuilder& part, int step) {
  Mesh mesh;
  for (int type = 0; type < kFixedTypes; ++type) {
    std::vector<std::int32_t> connectivity;
    for (int i = 0; i < kElementsPerType; ++i) {
      const Point offset{kSpacing * (type / 2), kSpacing * (3.0 * (type % 2) + i), 0.0};
      append(connectivity, mesh.nodes(elementPoints(type - type % 2), offset));
    }
    part.elements(type, connectivity, Ids::kDifferences, step);
  }
  mesh.putNodes(part, step);
}

/// Connectivity as windows of ids, unlike the other parts: both forms are read.
void putPolygons(PartBuilder& part, int step) {
  Mesh mesh;
  std::vector<std::int32_t> sizes;
  std::vector<std::int32_t> connectivity;
  for (int sides = 3; sides <= 8; ++sides) {
    sizes.push_back(sides);
    append(connectivity, mesh.nodes(polygonPoints(sides), {kSpacing * sides, -kSpacing, 0.0}));
  }
  mesh.putNodes(part, step);
  part.nsided(sizes, connectivity, Ids::kWindows, step).ghostsWithoutNodes(2, 0, step);
}

/// Prisms of triangles to heptagons in a row along x, with a ghost.
void putPolyhedra(PartBuilder& part, int step) {
  Mesh mesh;
  std::vector<std::int32_t> faces;
  std::vector<std::int32_t> sizes;
  std::vector<std::int32_t> connectivity;
  for (int sides = 3; sides <= 7; ++sides) {
    const PolyhedronShape shape = prism(sides);
    const auto numbers = mesh.nodes(shape.points, {kSpacing * sides, -2.0 * kSpacing, 0.0});
    faces.push_back(static_cast<std::int32_t>(shape.faces.size()));
    for (const auto& face : shape.faces) {
      sizes.push_back(static_cast<std::int32_t>(face.size()));
      for (const std::int32_t node : face) {
        connectivity.push_back(numbers[static_cast<std::size_t>(node)]);
      }
    }
  }
  mesh.putNodes(part, step);
  part.nfaced(faces, sizes, connectivity, Ids::kDifferences, step).ghostsWithoutNodes(0, 1, step);
}

/// Nodes of a box of side 10, `counts` along its edges, that is bent with the time.
void putLattice(Mesh& mesh, const std::array<int, 3>& counts, double height, int step) {
  constexpr double kSide = 10.0;
  const auto scale = [&](std::size_t axis) { return kSide / std::max(counts[axis] - 1, 1); };
  for (int k = 0; k < counts[2]; ++k) {
    for (int j = 0; j < counts[1]; ++j) {
      for (int i = 0; i < counts[0]; ++i) {
        const double x = i * scale(0);
        const double bend = 0.05 * timeOf(step) * x * x / kSide;
        mesh.node({x, j * scale(1), k * scale(2) + bend}, {0.0, 15.0, height});
      }
    }
  }
}

/// Hexahedra whose lowest layer has border faces, which are seen from below.
void putSolid(PartBuilder& part, int side, int step) {
  Mesh mesh;
  putLattice(mesh, {side, side, side}, 0.0, step);
  mesh.putNodes(part, step);
  // Stored number of a node of the lattice, whose i runs fastest.
  const auto at = [side](int i, int j, int k) { return (k * side + j) * side + i + 1; };
  std::vector<std::int32_t> hexahedra;
  BorderFaces bottom;
  for (int k = 1; k < side; ++k) {
    for (int j = 1; j < side; ++j) {
      for (int i = 1; i < side; ++i) {
        if (k == 1) {
          append(bottom.connectivity.nodes,
                 {at(i - 1, j - 1, 0), at(i - 1, j, 0), at(i, j, 0), at(i, j - 1, 0)});
          bottom.parentIds.push_back(static_cast<std::int32_t>(hexahedra.size() / 8));
          bottom.parentTypes.push_back(kHexahedra);
        }
        for (const int z : {k - 1, k}) {
          append(hexahedra, {at(i - 1, j - 1, z), at(i, j - 1, z), at(i, j, z), at(i - 1, j, z)});
        }
      }
    }
  }
  part.elements(kHexahedra, hexahedra, Ids::kWindows, step);
  part.borderFaces(kQuads, bottom, step);
}

/// A strip with a further quadrilateral at each step, and a triangle on each of the odd ones.
void putGrowing(PartBuilder& part, int step) {
  Mesh mesh;
  std::vector<std::int32_t> quads;
  std::vector<std::int32_t> triangles;
  for (int i = 0; i < step; ++i) {
    const auto corners = mesh.nodes(elementPoints(kQuads), {1.0 * i, -4.0 * kSpacing, 0.0});
    append(quads, corners);
    if (i % 2 == 0) continue;
    const std::int32_t top = mesh.node({0.5, 1.8, 0.0}, {1.0 * i, -4.0 * kSpacing, 0.0});
    append(triangles, {corners[3], corners[2], top});
  }
  mesh.putNodes(part, step);
  if (!quads.empty()) part.elements(kQuads, quads, Ids::kDifferences, step);
  if (!triangles.empty()) part.elements(kTriangles, triangles, Ids::kDifferences, step);
}

void putParticles(PartBuilder& particles, int step) {
  Mesh mesh;
  const int count = step * 7 % 20;  // 0, 7, 14, 1, ...
  for (int i = 0; i < count; ++i) {
    const double angle = 2.4 * i + 0.3 * step;
    mesh.node({(2.0 + 0.4 * i) * std::cos(angle), (2.0 + 0.4 * i) * std::sin(angle), 0.5 * step},
              {5.0, 5.0, 5.0});
  }
  mesh.putNodes(particles, step);
}

}  // namespace

/// Fills a file.
class Zoo::Maker {
 public:
  explicit Maker(const Options& options) : options_(options) {}

  ResultFileBuilder make() {
    file_.title = "zoo";
    file_.tableChunks(options_.tableChunks).timeBlocks(4);
    std::vector<float> times;
    std::vector<float> sparse;
    for (int step = 0; step < options_.steps; ++step) {
      times.push_back(timeOf(step));
      // Times of its own, between the others: the geometry of such a step is that of the time before.
      if (step % 3 == 0) sparse.push_back(timeOf(step) + 0.125F);
    }
    all_ = file_.timeSet(times);
    sparse_ = file_.timeSet(sparse);
    sparseSteps_ = static_cast<int>(sparse.size());
    file_.modelChanges(GeometryChange::kConnectivity, all_);
    file_.particlesChange(GeometryChange::kConnectivity, all_);
    file_.coordinates(Quantisation::adaptiveShift(0.01));
    makeGeometry();
    makeNodeVariables();
    makeElementVariables();
    makeOtherVariables();
    return std::move(file_);
  }

 private:
  // In the order in which they are added to the file.
  enum Part { kElements, kPolygons, kPolyhedra, kSolid, kGrowing, kBlock, kSheet, kEmpty, kParts };

  void makeGeometry() {
    // Shares of the nodes: the other parts have a few hundred.
    const int side = std::max(static_cast<int>(std::cbrt(0.4 * options_.nodes)), 2);
    const std::array<int, 3> block{side, side + 1, std::max(side - 1, 2)};
    const std::array<int, 3> sheet{2 * side, side, 1};
    // One name has a slash and blanks: exports make names of files and keys of it.
    for (const char* name : {"elements", "polygons", "polyhedra", "solid", "growing", "block",
                             "sheet / flat", "empty"}) {
      parts_.push_back(&file_.part(name));
    }
    // One part with exact coordinates among adaptive ones: readers decide for each part.
    parts_[kSolid]->notAdaptive();
    for (int step = 0; step < options_.steps; ++step) {
      putElements(*parts_[kElements], step);
      putPolygons(*parts_[kPolygons], step);
      putPolyhedra(*parts_[kPolyhedra], step);
      putSolid(*parts_[kSolid], side, step);
      putGrowing(*parts_[kGrowing], step);
      putBlock(*parts_[kBlock], block, 15.0, 1, step);
      putBlock(*parts_[kSheet], sheet, 30.0, 2, step);
      parts_[kEmpty]->nodes({}, {}, {}, step);
      putParticles(file_.particles(), step);
    }
  }

  static void putBlock(PartBuilder& part, const std::array<int, 3>& counts, double height,
                       std::uint32_t type, int step) {
    Mesh mesh;
    putLattice(mesh, counts, height, step);
    mesh.putNodes(part, step);
    std::array<std::uint32_t, 4> extents{};
    std::ranges::copy(counts, extents.begin());
    part.block(extents, type);
  }

  void makeNodeVariables() {
    VariableBuilder& temperature = file_.variable("temperature", kNode, kScalar);
    temperature.describe("on all nodes").quantised(Quantisation::uniform(0.01));
    VariableBuilder& velocity = file_.variable("velocity", kNode, kVector);
    velocity.describe("on all nodes").quantised(Quantisation::relative(0.01));
    VariableBuilder& stretch = file_.variable("stretch", kNode, kSymmetric);
    stretch.describe("on blocks and the growing part");
    VariableBuilder& gradient = file_.variable("velocity_gradient", kNode, kTensor);
    gradient.describe("on the solid, every other step from the second");
    VariableBuilder& wear = file_.variable("wear [mm]", kNode, kScalar);
    wear.describe("on the solid, differences between steps")
        .quantised(Quantisation::uniform(0.001))
        .timeDifferences();
    for (VariableBuilder* variable : {&temperature, &velocity, &stretch, &gradient, &wear}) {
      variable->onTimeSet(all_);
    }
    for (int step = 0; step < options_.steps; ++step) {
      for (int part = 0; part < kParts; ++part) {
        putOnNodes(temperature, step, part);
        putOnNodes(velocity, step, part);
      }
      for (const int part : {kGrowing, kBlock, kSheet}) putOnNodes(stretch, step, part);
      // Steps without any values.
      if (step % 2 == 1) putOnNodes(gradient, step, kSolid);
      putOnNodes(wear, step, kSolid);
    }
  }

  void makeElementVariables() {
    VariableBuilder& stress = file_.variable("stress", kElement, kSymmetric);
    stress.describe("on all elements").quantised(Quantisation::adaptiveExponent(1e-3));
    VariableBuilder& energy = file_.variable("energy", kElement, kScalar);
    energy.describe("on all elements; per node on blocks").quantised(Quantisation::uniform(0.01));
    VariableBuilder& flux = file_.variable("flux", kElement, kVector);
    flux.describe("on polygons and polyhedra");
    VariableBuilder& spin = file_.variable("spin", kElement, kTensor);
    spin.describe("on the solid, along a forest")
        .quantised(Quantisation::uniform(0.01))
        .alongForest();
    VariableBuilder& thickness = file_.variable("thickness", kElement, kScalar);
    thickness.describe("on triangles and quadrilaterals, every third step");
    for (VariableBuilder* variable : {&stress, &energy, &flux, &spin, &thickness}) {
      variable->onTimeSet(all_);
    }
    for (int step = 0; step < options_.steps; ++step) {
      for (int part = 0; part <= kGrowing; ++part) {
        putOnElements(stress, step, part);
        putOnElements(energy, step, part);
      }
      for (const int part : {kBlock, kSheet}) putOnNodes(energy, step, part);
      for (const int part : {kPolygons, kPolyhedra}) putOnElements(flux, step, part);
      putOnElements(spin, step, kSolid);
      if (step % 3 != 0) continue;
      for (const int part : {kElements, kGrowing}) {
        for (const int type : {kTriangles, kQuads}) putOnType(thickness, step, part, type);
      }
    }
  }

  void makeOtherVariables() {
    // Without a time set: on the nodes and elements of the first step.
    VariableBuilder& mode = file_.variable("mode", kNode, kVector);
    mode.describe("complex, no steps").complex("mode (imaginary)", 120.0F);
    VariableBuilder& pressure = file_.variable("pressure", kNode, kScalar);
    pressure.complex("", 50.0F).onTimeSet(all_);
    VariableBuilder& impedance = file_.variable("impedance", kElement, kScalar);
    impedance.complex("reactance", 75.0F).onTimeSet(all_);
    VariableBuilder& coarse = file_.variable("coarse", kElement, kScalar);
    coarse.describe("with times of its own").onTimeSet(sparse_);
    for (const bool isImaginary : {false, true}) {
      putOnNodes(mode, 0, kSolid, isImaginary);
      for (int step = 0; step < options_.steps; ++step) {
        putOnNodes(pressure, step, kPolyhedra, isImaginary);
        putOnNodes(pressure, step, kSheet, isImaginary);
        putOnElements(impedance, step, kElements, isImaginary);
      }
    }
    // The solid has the same elements at all steps.
    for (int step = 0; step < sparseSteps_; ++step) putOnElements(coarse, step, kSolid);

    std::vector<float> loads;
    for (int step = 0; step < options_.steps; ++step) loads.push_back(valueAt({.step = step}, 0));
    file_.variable("load", kNode).constant(loads).onTimeSet(all_);
    // Neither a time set nor steps: one number.
    file_.variable("density", kNode).constant({7850.0F});

    makeParticleVariables();
  }

  void makeParticleVariables() {
    VariableBuilder& size = file_.variable("size", kNode, kScalar);
    VariableBuilder& drift = file_.variable("drift", kNode, kVector);
    VariableBuilder& strain = file_.variable("particle_strain", kNode, kSymmetric);
    size.quantised(Quantisation::uniform(0.01));
    for (VariableBuilder* variable : {&size, &drift, &strain}) {
      variable->onParticles().onTimeSet(all_);
      for (int step = 0; step < options_.steps; ++step) {
        put(*variable, {.step = step}, file_.particles().state(step).nodes[0].size());
      }
    }
  }

  /// All components; nothing where there are no places.
  static void put(VariableBuilder& variable, ValueKey key, std::size_t count) {
    if (count == 0) return;
    for (key.component = 0; key.component < kComponents.at(variable.type); ++key.component) {
      std::vector<float> values;
      for (std::size_t i = 0; i < count; ++i) values.push_back(valueAt(key, i));
      // Hosts meet places without a value, which solvers store as no number.
      if (variable.name == "stretch") values[0] = std::numeric_limits<float>::quiet_NaN();
      variable.set(key, std::move(values));
    }
  }

  void putOnNodes(VariableBuilder& variable, int step, int part, bool isImaginary = false) {
    const PartState& state = parts_[static_cast<std::size_t>(part)]->state(step);
    put(variable, {.step = step, .part = part, .imaginary = isImaginary}, state.nodes[0].size());
  }

  void putOnElements(VariableBuilder& variable, int step, int part, bool isImaginary = false) {
    const PartState& state = parts_[static_cast<std::size_t>(part)]->state(step);
    for (const auto& [type, connectivity] : state.elements) {
      putOnType(variable, step, part, type, isImaginary);
    }
    const auto putCount = [&](int type, std::size_t count) {
      put(variable, {.step = step, .part = part, .elementType = type, .imaginary = isImaginary},
          count);
    };
    putCount(kNSidedType, state.nsidedNodes.size());
    putCount(kNFacedType, state.nfacedFaces.size());
  }

  /// Nothing where the part has no elements of the type at the step.
  void putOnType(VariableBuilder& variable, int step, int part, int type,
                 bool isImaginary = false) {
    const PartState& state = parts_[static_cast<std::size_t>(part)]->state(step);
    const auto found = state.elements.find(type);
    if (found == state.elements.end()) return;
    put(variable, {.step = step, .part = part, .elementType = type, .imaginary = isImaginary},
        elementsIn(type, found->second.nodes.size()));
  }

  const Options& options_;
  ResultFileBuilder file_;
  std::vector<PartBuilder*> parts_;
  std::uint32_t all_ = 0;     ///< The time set of most.
  std::uint32_t sparse_ = 0;  ///< One with fewer steps.
  int sparseSteps_ = 0;
};

Zoo::Zoo(const Options& options) : options_(options) {
  options_.steps = std::max(options_.steps, 1);
}

ResultFileBuilder Zoo::file() const {
  return Maker(options_).make();
}

}  // namespace morvex::Writer
