#include "writer/crash_box.hpp"

#include <algorithm>
#include <cmath>

#include "result_session.hpp"

namespace morvex::Writer {
namespace {

void expectNear(const Floats& read, const Floats& written, const Tolerance& tolerance) {
  ASSERT_EQ(read.size(), written.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    const double allowed = std::max(tolerance.absolute + 1e-7 * std::abs(double{written[i]}),
                                    tolerance.relative * std::abs(double{written[i]}));
    const bool isExact = tolerance.absolute == 0.0 && tolerance.relative == 0.0;
    ASSERT_LE(std::abs(double{read[i]} - double{written[i]}), isExact ? 0.0 : allowed)
        << "value " << i << ": " << read[i] << " instead of " << written[i];
  }
}

class CrashBoxFile : public ResultSession {
 protected:
  void openModel(const CrashBox& model) { open(model.file()); }

  static void expectVariables(const CrashBox& model) {
    for (int v = 0; v < CrashBox::kVariableCount; ++v) {
      const auto name = static_cast<CrashBox::Variable>(v);
      for (const ValueKey& key : model.keys(name)) {
        SCOPED_TRACE(std::string(CrashBox::nameOf(name)) + " step " + std::to_string(key.step) +
                     " part " + std::to_string(key.part));
        const Floats written = model.values(name, key);
        expectNear(variable(v, key, written.size()), written, model.toleranceOf(name));
      }
    }
  }
};

TEST_F(CrashBoxFile, IsReadAsItWasWritten) {
  const CrashBox model({});
  openModel(model);
  EXPECT_EQ(MX_getNumberOfParts(), CrashBox::kPartCount);
  EXPECT_EQ(MX_getNumberOfTimesteps(0), 20);
  for (int part = 0; part < CrashBox::kPartCount; ++part) {
    for (const auto& [type, nodes] : model.elements(part)) {
      EXPECT_EQ(connectivity(0, part, type, nodes.size()), nodes);
      EXPECT_LE(*std::ranges::max_element(nodes), static_cast<int>(model.nodeCount(part)));
      EXPECT_GE(*std::ranges::min_element(nodes), 1);
    }
    for (int step = 0; step < model.steps(); ++step) {
      const auto read = coordinates(step, part, model.nodeCount(part));
      const auto written = model.coordinates(step, part);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        expectNear(read[axis], written[axis], CrashBox::coordinateTolerance());
      }
    }
  }
  const BorderFaces& faces = model.borderFaces();
  Ints nodes(faces.connectivity.nodes.size());
  Ints parents(faces.parentIds.size());
  std::vector<std::int16_t> types(parents.size());
  EXPECT_EQ(MX_getBorderFacesConnByType(0, CrashBox::kBlock, 10, nodes.data(), parents.data(),
                                        types.data()),
            0);
  EXPECT_EQ(nodes, faces.connectivity.nodes);
  EXPECT_EQ(parents, faces.parentIds);
  for (int step : {0, 7, 19}) {
    const auto written = model.particles(step);
    expectSameBits(coordinates(step, -1, written[0].size())[1], written[1]);
    float real = 0;
    float imaginary = 0;
    EXPECT_EQ(MX_getConstantValue(step, CrashBox::kCrushForce, &real, &imaginary), 0);
    EXPECT_EQ(real, model.crushForce(step));
  }
  MX_finishedGeometryProcessing();
  expectVariables(model);
}

TEST_F(CrashBoxFile, HasAboutTheNodesThatWereAskedFor) {
  for (const std::uint32_t nodes : {1'000U, 10'000U, 100'000U}) {
    const CrashBox model({.nodes = nodes, .steps = 1});
    std::size_t made = 0;
    for (int part = 0; part < CrashBox::kPartCount; ++part) made += model.nodeCount(part);
    EXPECT_NEAR(static_cast<double>(made), nodes, 0.15 * nodes);
  }
}

TEST_F(CrashBoxFile, ThreadsAndTinyModelsMakeNoDifference) {
  const CrashBox model({.nodes = 100, .steps = 3, .tableChunks = 9});
  openModel(model);
  for (const int threads : {3, 1}) {
    MX_setNumberOfOmpThreads(threads);
    expectVariables(model);
  }
}

TEST_F(CrashBoxFile, IsTheSameEveryTime) {
  const ResultImage first = CrashBox({.nodes = 500, .steps = 4}).file().image();
  const ResultImage second = CrashBox({.nodes = 500, .steps = 4}).file().image();
  EXPECT_EQ(first.datasets(), second.datasets());
}

}  // namespace
}  // namespace morvex::Writer
