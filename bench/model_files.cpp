#include "model_files.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "writer/result_file.hpp"

namespace morvex::Bench {
namespace {

constexpr int kQuads = 10;

/// Pseudo-random numbers from -1 to 1, the same on every machine.
class Noise {
 public:
  explicit Noise(std::uint64_t seed) : state_(seed) {}
  double operator()() {
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    z ^= z >> 31;
    return static_cast<double>(z >> 11) * 0x1p-52 - 1.0;
  }

 private:
  std::uint64_t state_;
};

/// A sheet of side x side nodes, 5 mm apart, that folds up over the steps.
struct Sheet {
  int side;
  int number;

  [[nodiscard]] std::size_t nodeCount() const {
    return static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
  }

  [[nodiscard]] std::array<double, 3> positionOf(int i, int j) const {
    const double u = 5.0 * i;
    const double v = 5.0 * j;
    const double turn = 0.3 * number;
    return {u * std::cos(turn) - v * std::sin(turn) + 40.0 * number,
            u * std::sin(turn) + v * std::cos(turn),
            12.0 * std::sin(u * 0.011 + number) + 100.0 * (number % 7)};
  }

  [[nodiscard]] std::array<double, 3> displacementOf(int i, int j, double progress) const {
    const double u = 0.05 * i;
    const double v = 0.05 * j;
    const double fold = std::sin(u + 0.7 * number) * std::cos(0.6 * v);
    return {progress * (-80.0 + 3.0 * u + 6.0 * fold), progress * 9.0 * std::sin(0.8 * v + u),
            progress * 25.0 * fold};
  }

  [[nodiscard]] std::array<std::vector<float>, 3> coordinates() const {
    std::array<std::vector<float>, 3> axes;
    for (int j = 0; j < side; ++j) {
      for (int i = 0; i < side; ++i) {
        const auto position = positionOf(i, j);
        for (std::size_t a = 0; a < 3; ++a) axes[a].push_back(static_cast<float>(position[a]));
      }
    }
    return axes;
  }

  [[nodiscard]] std::vector<std::int32_t> quads() const {
    std::vector<std::int32_t> nodes;
    for (int j = 1; j < side; ++j) {
      for (int i = 1; i < side; ++i) {
        const int corner = (j - 1) * side + i;
        nodes.insert(nodes.end(), {corner, corner + 1, corner + side + 1, corner + side});
      }
    }
    return nodes;
  }

  [[nodiscard]] std::vector<float> displacement(std::size_t axis, double progress) const {
    Noise noise(static_cast<std::uint64_t>(number) * 3 + axis + 1);
    std::vector<float> values;
    for (int j = 0; j < side; ++j) {
      for (int i = 0; i < side; ++i) {
        values.push_back(
            static_cast<float>(displacementOf(i, j, progress)[axis] + 0.02 * progress * noise()));
      }
    }
    return values;
  }

  [[nodiscard]] std::vector<float> stress(double progress) const {
    Noise noise(static_cast<std::uint64_t>(number) + 1000);
    std::vector<float> values;
    for (int j = 1; j < side; ++j) {
      for (int i = 1; i < side; ++i) {
        const double smooth = std::sin(0.09 * i + number) * std::sin(0.07 * j);
        values.push_back(static_cast<float>(progress * (220.0 + 180.0 * smooth + 4.0 * noise())));
      }
    }
    return values;
  }
};

std::vector<float> timesOf(std::uint32_t steps) {
  std::vector<float> times;
  for (std::uint32_t step = 0; step < steps; ++step)
    times.push_back(0.5F * static_cast<float>(step));
  return times;
}

}  // namespace

void writeCrashModel(const std::string& path, const CrashModel& model) {
  using Writer::Quantisation;
  Writer::ResultFileBuilder file;
  const auto timeSet = file.timeSet(timesOf(static_cast<std::uint32_t>(model.steps)));
  file.tableChunks(model.tableChunks);
  std::vector<Sheet> sheets;
  const int side = static_cast<int>(std::sqrt(static_cast<double>(model.nodes) / model.parts));
  for (std::uint32_t p = 0; p < model.parts; ++p) {
    sheets.push_back({std::max(side, 3), static_cast<int>(p)});
    auto [x, y, z] = sheets.back().coordinates();
    file.part("sheet " + std::to_string(p))
        .nodes(std::move(x), std::move(y), std::move(z))
        .elements(kQuads, sheets.back().quads(),
                  model.hasIdWindows ? Writer::Ids::kWindows : Writer::Ids::kDifferences);
  }
  auto& displacement = file.variable("displacement", Writer::Location::kPerNode, 2);
  auto& stress = file.variable("stress", Writer::Location::kPerElement, 1);
  displacement.onTimeSet(timeSet);
  stress.onTimeSet(timeSet);
  if (model.hasAdaptiveCoordinates) {
    file.coordinates(Quantisation::adaptiveShift(0.05));
  } else if (model.isQuantised) {
    file.coordinates(Quantisation::uniform(kCoordinateStep));
  }
  if (model.isQuantised) {
    displacement.quantised(Quantisation::uniform(kDisplacementStep));
    stress.quantised(Quantisation::uniform(kStressStep));
  }
  if (model.usesTimeDifferences) {
    constexpr std::uint32_t kStepsPerBlock = 8;
    file.timeBlocks(kStepsPerBlock);
    displacement.timeDifferences();
  }
  for (int step = 0; step < model.steps; ++step) {
    const double progress = (step + 1.0) / model.steps;
    for (const Sheet& sheet : sheets) {
      for (int axis = 0; axis < 3; ++axis) {
        displacement.set({.step = step, .part = sheet.number, .component = axis},
                         sheet.displacement(static_cast<std::size_t>(axis), progress));
      }
      stress.set({.step = step, .part = sheet.number, .elementType = kQuads},
                 sheet.stress(progress));
    }
  }
  file.write(path);
}

std::vector<std::vector<float>> writeManyArrays(const std::string& path, const ManyArrays& many) {
  Writer::ResultFileBuilder file;
  const auto timeSet = file.timeSet(timesOf(many.steps));
  Sheet sheet{std::max(static_cast<int>(std::sqrt(many.valuesPerArray)), 2), 0};
  const auto cut = [&](std::vector<float> values) {
    values.resize(many.valuesPerArray, 0.0F);
    return values;
  };
  for (std::uint32_t p = 0; p < many.parts; ++p) {
    sheet.number = static_cast<int>(p);
    auto [x, y, z] = sheet.coordinates();
    file.part("part " + std::to_string(p)).nodes(cut(x), cut(y), cut(z));
  }
  std::vector<std::vector<float>> written;
  for (std::uint32_t v = 0; v < many.variables; ++v) {
    auto& variable = file.variable("variable_" + std::to_string(v), Writer::Location::kPerNode, 1);
    variable.onTimeSet(timeSet).quantised(Writer::Quantisation::uniform(kDisplacementStep));
    for (std::uint32_t p = 0; p < many.parts; ++p) {
      sheet.number = static_cast<int>(p + v * many.parts);
      written.push_back(cut(sheet.displacement(2, 1.0)));
      variable.set({.part = static_cast<int>(p)}, written.back());
    }
  }
  Writer::ResultImage image = file.image();
  const auto first = image.datasets();
  for (const auto& [name, bytes] : first) {
    const std::size_t step = name.find("/0/");
    if (!name.starts_with("/variable/") || step == std::string::npos) continue;
    for (std::uint32_t s = 1; s < many.steps; ++s) {
      image[name.substr(0, step + 1) + std::to_string(s) + name.substr(step + 2)] = bytes;
    }
  }
  image.write(path);
  return written;
}

}  // namespace morvex::Bench
