// The outside of small sets of elements, counted by hand.
#include "picture/surface.hpp"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

namespace {

using namespace morvex::picture;

struct Mesh {
  std::vector<std::int64_t> offsets{0};
  std::vector<std::int64_t> connectivity;
  std::vector<std::uint8_t> types;
  std::vector<std::int32_t> faces;
  std::vector<std::int32_t> nodesPerFace;

  Mesh& add(int type, const std::vector<std::int64_t>& nodes) {
    types.push_back(static_cast<std::uint8_t>(type));
    connectivity.insert(connectivity.end(), nodes.begin(), nodes.end());
    offsets.push_back(static_cast<std::int64_t>(connectivity.size()));
    return *this;
  }
  [[nodiscard]] Surface surface() const {
    return surfaceOf({offsets, connectivity, types, faces, nodesPerFace});
  }
};

std::set<std::set<std::uint32_t>> faceSets(const Surface& surface) {
  std::set<std::set<std::uint32_t>> sets;
  for (std::size_t i = 0; i < surface.faceCount(); ++i) {
    const auto face = surface.face(i);
    sets.emplace(face.begin(), face.end());
  }
  return sets;
}

const std::vector<std::int64_t> kCube{0, 1, 2, 3, 4, 5, 6, 7};

TEST(SurfaceOf, NeighboursOfAllShapesHideTheirCommonFace) {
  // On each side of the cube something of another shape, all with the cube's nodes on that side.
  Mesh mesh;
  mesh.add(26, kCube);
  mesh.add(18, {0, 1, 2, 3, 8});              // pyramid below
  mesh.add(26, {4, 5, 6, 7, 9, 10, 11, 12});  // cube above
  mesh.add(22, {0, 1, 13, 4, 5, 14});         // pentahedron in front
  mesh.add(32, {1, 2, 6, 5, 2, 1, 15, 6, 2, 15, 5, 6, 15, 1, 5, 15});
  mesh.faces = {5};
  mesh.nodesPerFace = {4, 3, 3, 3, 3};
  const auto faces = faceSets(mesh.surface());
  EXPECT_EQ(faces.size(), 6 + 5 + 6 + 5 + 5 - 2 * 4U);
  EXPECT_FALSE(faces.contains({1, 2, 5, 6}));
  EXPECT_TRUE(faces.contains({2, 3, 6, 7}));
  EXPECT_TRUE(faces.contains({1, 2, 15}));
}

TEST(SurfaceOf, OuterFacesOfSolidsFaceOutwards) {
  // Corners of the unit cube, so that the middle of every shape is inside of it.
  constexpr double kPlaces[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                    {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
  const std::vector<std::pair<int, std::vector<std::int64_t>>> kSolids{
      {14, {0, 1, 3, 4}}, {18, {0, 1, 2, 3, 4}}, {22, {0, 1, 3, 4, 5, 7}}, {26, kCube}};
  for (const auto& [type, nodes] : kSolids) {
    const Surface surface = Mesh().add(type, nodes).surface();
    for (std::size_t i = 0; i < surface.faceCount(); ++i) {
      const auto face = surface.face(i);
      double u[3];
      double v[3];
      double w[3] = {0, 0, 0};
      for (int axis = 0; axis < 3; ++axis) {
        u[axis] = kPlaces[face[1]][axis] - kPlaces[face[0]][axis];
        v[axis] = kPlaces[face[2]][axis] - kPlaces[face[0]][axis];
        for (const std::int64_t node : nodes) {
          w[axis] += kPlaces[face[0]][axis] - kPlaces[node][axis];
        }
      }
      const double outwards = (u[1] * v[2] - u[2] * v[1]) * w[0] +
                              (u[2] * v[0] - u[0] * v[2]) * w[1] +
                              (u[0] * v[1] - u[1] * v[0]) * w[2];
      EXPECT_GT(outwards, 0) << "type " << type << ", face " << i;
    }
  }
}

TEST(SurfaceOf, QuadraticElementsHaveTheFacesOfTheirCorners) {
  std::vector<std::int64_t> nodes = kCube;
  for (std::int64_t node = 20; node < 32; ++node) nodes.push_back(node);
  EXPECT_EQ(faceSets(Mesh().add(28, nodes).surface()), faceSets(Mesh().add(26, kCube).surface()));
}

TEST(SurfaceOf, GhostsAreNotDrawnButHideTheirNeighboursFaces) {
  const Surface surface =
      Mesh().add(26, kCube).add(27, {4, 5, 6, 7, 8, 9, 10, 11}).add(7, {0, 1, 2}).surface();
  EXPECT_EQ(surface.faceCount(), 5U);
  for (const std::uint32_t node : surface.nodes) EXPECT_LT(node, 8U);
}

TEST(SurfaceOf, FlatElementsBarsAndPointsFollowTheSolids) {
  const Surface surface = Mesh()
                              .add(0, {3})
                              .add(4, {0, 1, 2})
                              .add(12, {0, 1, 2, 3, 4, 5, 6, 7})
                              .add(14, {0, 1, 2, 3})
                              .add(30, {0, 1, 2, 3, 4})
                              .surface();
  EXPECT_EQ(surface.outerFaces, 4U);
  ASSERT_EQ(surface.faceCount(), 6U);
  EXPECT_EQ(surface.face(4).size(), 4U);
  EXPECT_EQ(surface.cells[5], 4U);
  ASSERT_EQ(surface.lines.size(), 2U);  // a bar of three nodes
  EXPECT_EQ(surface.lines[1].nodes, (std::array<std::uint32_t, 2>{1, 2}));
  EXPECT_EQ(surface.points.size(), 1U);
}

TEST(SurfaceOf, TablesOfPolyhedraThatContradictEachOtherAreRefused) {
  for (const auto& [faces, sizes] :
       {std::pair<std::vector<std::int32_t>, std::vector<std::int32_t>>{{}, {}},
        {{2}, {3}},
        {{2}, {3, 4}}}) {
    Mesh mesh;
    mesh.add(32, {0, 1, 2, 0, 1, 3});
    mesh.faces = faces;
    mesh.nodesPerFace = sizes;
    EXPECT_THROW((void)mesh.surface(), std::invalid_argument);
  }
}

TEST(SurfaceOfBlock, EveryDimensionHasItsOutside) {
  EXPECT_EQ(surfaceOfBlock({3, 4, 5}).faceCount(), 2U * (2 * 3 + 3 * 4 + 4 * 2));
  const Surface flat = surfaceOfBlock({3, 1, 5});
  EXPECT_EQ(flat.faceCount(), 2U * 4);
  EXPECT_EQ(*std::max_element(flat.nodes.begin(), flat.nodes.end()), 14U);
  EXPECT_EQ(surfaceOfBlock({1, 4, 1}).lines.size(), 3U);
  EXPECT_EQ(surfaceOfBlock({1, 1, 1}).points.size(), 1U);
  EXPECT_TRUE(surfaceOfBlock({0, 4, 4}).empty());
}

}  // namespace
