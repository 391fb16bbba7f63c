#include "support/curious_host.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

#include "morvex/morvex_ensg.h"
#include "reader/element_types.hpp"
#include "support/defined_failure.hpp"

namespace morvex {
namespace {

constexpr int kTypes = MX_ELEMENT_TYPES;
constexpr std::uint64_t kFailed = 0xCBF29CE484222325U;
/// Accepts every name: only writes after the longest one matter.
char* nameBuffer() {
  static std::vector<char> longest((std::size_t{1} << 20) + 1);
  return longest.data();
}

class Host {
 public:
  explicit Host(const Curiosity& curiosity) : curiosity_(curiosity) {}

  Inquiry run(const std::string& path) {
    result_.opened = MX_openFile(path.c_str(), 0) == 0;
    if (result_.opened) {
      askAboutTime();
      askAboutModel();
      askAboutParticles();
      askAboutVariables();
      MX_exit();
    }
    for (const std::uint64_t outcome : result_.outcomes) {
      result_.digest = mix(result_.digest, outcome);
    }
    return result_;
  }

 private:
  /// Asks one question. `otherwise` is the answer for a failure.
  template <class Question>
  int ask(Question&& question, int otherwise = 0) {
    result_.outcomes.push_back(kFailed);
    try {
      const int answer = question();
      ++result_.answers;
      note(static_cast<std::uint32_t>(answer));
      return answer;
    } catch (...) {
      if (std::string undefined = undefinedFailure(); !undefined.empty()) {
        result_.undefined = std::move(undefined);
      }
    }
    ++result_.failures;
    return otherwise;
  }

  /// Asks for an array of exactly `count` elements; does nothing for a negative count.
  template <class T, class Question>
  void askFor(std::int64_t count, Question&& question) {
    if (count < 0) return;  // the question for the count has failed
    if (static_cast<std::uint64_t>(count) > curiosity_.largestArray ||
        arrays_ >= curiosity_.mostArrays) {
      ++result_.passedOver;
      return;
    }
    ++arrays_;
    const auto size = static_cast<std::size_t>(count);
    const std::unique_ptr<T[]> array(new T[size]());
    if (ask([&] { return question(array.get()); }, -1) == 0) {
      for (std::size_t i = 0; i < size; ++i) note(bitsOf(array[i]));
    }
  }

  template <class T>
  static std::uint64_t bitsOf(T value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
  }

  /// Adds a number of the last answer to its digest.
  void note(std::uint64_t bits) { result_.outcomes.back() = mix(result_.outcomes.back(), bits); }
  static std::uint64_t mix(std::uint64_t digest, std::uint64_t bits) {
    return (digest ^ bits) * 0x100000001B3U;
  }

  void askAboutTime() {
    const int timesets = ask([] { return MX_getNumberOfTimesets(); });
    for (int t = -1; t <= std::min(timesets, curiosity_.mostSteps); ++t) {
      const int steps = ask([&] { return MX_getNumberOfTimesteps(t); }, -1);
      askFor<float>(std::max(steps, 1),
                    [&](float* values) { return MX_getTimestepsValues(t, values); });
      steps_ = std::clamp(steps, steps_, curiosity_.mostSteps);
    }
    for (int type = -1; type < 3; ++type) {
      ask([&] { return MX_getGeometryAdaptivityType(type); });
    }
    ask([] { return MX_getModelGeoTimeset(); });
    if (ask([] { return MX_hasMeasuredGeometry(); })) {
      ask([] { return MX_getMeasuredGeoTimeset(); });
    }
  }

  /// Sizes of the parts at a state.
  struct Parts {
    std::vector<int> types;
    std::vector<int> nodes;
    std::vector<std::array<int, kTypes>> elements;
  };

  void askAboutModel() {
    const int count = ask([] { return MX_getNumberOfParts(); });
    for (int step = -1; step <= steps_; ++step) {
      askFor<float>(6, [&](float* box) { return MX_getBoundingBox(step, box); });
      askAboutParts(step, static_cast<std::size_t>(count));
      // If only coordinates change, the sizes are those of step 0.
      const Parts* parts = partsAt(step);
      if (!parts) continue;
      for (int part = 0; part <= std::min(count, curiosity_.mostParts); ++part) {
        const bool exists = part < count;
        const auto row = static_cast<std::size_t>(part);
        askAboutPart(step, part, exists ? parts->nodes[row] : 0,
                     exists ? parts->elements[row] : std::array<int, kTypes>{});
      }
    }
    MX_finishedGeometryProcessing();
  }

  void askAboutParts(int step, std::size_t n) {
    if (n > curiosity_.largestArray) return;
    Parts parts{std::vector<int>(n), std::vector<int>(n), std::vector<std::array<int, kTypes>>(n)};
    std::vector<int> ids(n);
    std::vector<char*> names(n, nameBuffer());
    std::vector<std::array<int, 4>> extents(n);
    std::vector<std::array<int, 5>> options(n);
    std::vector<int*> elementRows(n), extentRows(n), optionRows(n);
    for (std::size_t i = 0; i < n; ++i) {
      elementRows[i] = parts.elements[i].data();
      extentRows[i] = extents[i].data();
      optionRows[i] = options[i].data();
    }
    const int status = ask(
        [&] {
          return MX_getPartInformation(step, ids.data(), parts.types.data(), names.data(),
                                       parts.nodes.data(), elementRows.data(), extentRows.data(),
                                       optionRows.data());
        },
        -1);
    if (status == 0) parts_[step] = std::move(parts);
  }

  /// The step with the sizes of `step`; -1 if there is none.
  [[nodiscard]] int sizeStep(int step) const {
    if (parts_.contains(step)) return step;
    return parts_.contains(0) ? 0 : -1;
  }
  [[nodiscard]] const Parts* partsAt(int step) const {
    const auto found = parts_.find(sizeStep(step));
    return found == parts_.end() ? nullptr : &found->second;
  }

  void askAboutPart(int step, int part, int nodes, const std::array<int, kTypes>& elements) {
    const auto three = [&](auto&& read) {
      askFor<float>(3 * std::int64_t{nodes}, [&](float* all) {
        // Separate blocks: in a common one, a write beyond an axis would go unnoticed.
        const auto count = static_cast<std::size_t>(nodes);
        const std::unique_ptr<float[]> x(new float[count]()), y(new float[count]()),
            z(new float[count]());
        const int status = read(x.get(), y.get(), z.get());
        std::copy_n(x.get(), count, all);
        std::copy_n(y.get(), count, all + count);
        std::copy_n(z.get(), count, all + 2 * count);
        return status;
      });
    };
    three([&](float* x, float* y, float* z) { return MX_getPartCoordinates(step, part, x, y, z); });
    three([&](float* x, float* y, float* z) {
      return MX_getBlockStructuredCoordinates(step, part, x, y, z);
    });
    askFor<int>(nodes, [&](int* ids) { return MX_getPartNodeIds(step, part, ids); });
    for (int type = 0; type < kTypes; ++type) {
      const int count = elements[static_cast<std::size_t>(type)];
      if (count == 0 && type != 0) continue;
      askFor<int>(count, [&](int* ids) { return MX_getPartElementIds(step, part, type, ids); });
      const int nodesPerElement = std::max(kNodesPerElement[static_cast<std::size_t>(type)], 0);
      askFor<int>(std::int64_t{count} * nodesPerElement, [&](int* connectivity) {
        return MX_getElementConnectivity(step, part, type, connectivity);
      });
    }
    askFor<int>(elements[kNSided],
                [&](int* values) { return MX_getNSidedNumberOfNodesPerFace(step, part, values); });
    askFor<int>(ask([&] { return MX_getDataSizeForNSidedConnectivity(step, part); }, -1),
                [&](int* values) { return MX_getNSidedConnectivity(step, part, values); });
    askFor<int>(elements[kNFaced], [&](int* values) {
      return MX_getNFacedNumberOfFacesPerElement(step, part, values);
    });
    askFor<int>(ask([&] { return MX_getDataSizeForNFacedNodesPerFace(step, part); }, -1),
                [&](int* values) { return MX_getNFacedNodesPerFace(step, part, values); });
    askFor<int>(ask([&] { return MX_getDataSizeForNFacedConnectivity(step, part); }, -1),
                [&](int* values) { return MX_getNFacedConnectivity(step, part, values); });
    askAboutBorderFaces(step, part);
  }

  void askAboutBorderFaces(int step, int part) {
    std::array<int, kTypes> faces{};
    ask([&] { return MX_hasBorderFaces(step, part, faces.data()); });
    for (int type = 0; type < kTypes; ++type) {
      const int count = faces[static_cast<std::size_t>(type)];
      const int nodes = kNodesPerElement[static_cast<std::size_t>(type)];
      if (count == 0 || nodes < 0) continue;
      askFor<int>(std::int64_t{count} * nodes, [&](int* connectivity) {
        const auto size = static_cast<std::size_t>(count);
        const std::unique_ptr<int[]> parents(new int[size]());
        const std::unique_ptr<short[]> parentTypes(new short[size]());
        const int status = MX_getBorderFacesConnByType(step, part, type, connectivity,
                                                       parents.get(), parentTypes.get());
        for (std::size_t i = 0; i < size; ++i) note(bitsOf(parents[i]) + bitsOf(parentTypes[i]));
        return status;
      });
    }
  }

  void askAboutParticles() {
    if (!ask([] { return MX_hasMeasuredGeometry(); })) return;
    for (int step = 0; step <= steps_; ++step) {
      const int count = ask([&] { return MX_getNumberOfMeasuredParticles(step); }, -1);
      askFor<int>(count, [&](int* ids) { return MX_getMeasuredParticleIds(step, ids); });
      askFor<float>(count, [&](float* x) {
        const auto size = static_cast<std::size_t>(count);
        const std::unique_ptr<float[]> y(new float[size]()), z(new float[size]());
        return MX_getMeasuredParticleCoordinates(step, x, y.get(), z.get());
      });
    }
  }

  void askAboutVariables() {
    const int count = ask([] { return MX_getNumberOfVariables(); });
    const auto n = static_cast<std::size_t>(count);
    if (n > curiosity_.largestArray) return;
    std::vector<char*> names(n, nameBuffer());
    std::vector<int> types(n), locations(n), complexFlags(n), hasTime(n, 1), timesets(n);
    std::vector<float> frequencies(n, 1.0F);
    const int status = ask(
        [&] {
          return MX_getVariableInformation(names.data(), names.data(), types.data(),
                                           locations.data(), complexFlags.data(), names.data(),
                                           frequencies.data(), hasTime.data(), timesets.data());
        },
        -1);
    for (int v = 0; v <= std::min(count, curiosity_.mostVariables); ++v) {
      const int geometry = ask([&] { return MX_getVariableGeoType(v); }, -1);
      askFor<float>(2, [&](float* value) { return MX_getConstantValue(0, v, value, value + 1); });
      if (status != 0 || v == count) continue;
      const auto row = static_cast<std::size_t>(v);
      for (int step = 0; step <= steps_; ++step) {
        const int components = types[row] == 1 ? 1 : types[row] == 2 ? 3 : 6;
        for (int component = 0; component < components; ++component) {
          for (int imaginary = 0; imaginary <= (complexFlags[row] != 0 ? 1 : 0); ++imaginary) {
            askForVariable({step, v, types[row], component, imaginary}, locations[row], geometry);
          }
        }
      }
    }
  }

  struct Component {
    int step, variable, varType, component, imaginary;
  };

  void askForVariable(const Component& c, int location, int geometry) {
    const auto ask = [&](int sizesAt, int part, int elementType, int count) {
      askFor<float>(count, [&](float* values) {
        return MX_getVariableByComponent(c.step, sizesAt, c.variable, part, c.varType, elementType,
                                         c.imaginary, c.component, values);
      });
    };
    if (geometry == 1) {
      ask(0, 0, 0, this->ask([] { return MX_getNumberOfMeasuredParticles(0); }, -1));
      return;
    }
    const Parts* parts = partsAt(c.step);
    if (!parts) return;
    const std::size_t partCount =
        std::min(parts->nodes.size(), static_cast<std::size_t>(curiosity_.mostParts));
    for (std::size_t part = 0; part < partCount; ++part) {
      const auto number = static_cast<int>(part);
      if (location != 1 || parts->types[part] != 0) {
        ask(sizeStep(c.step), number, 0, parts->nodes[part]);
        continue;
      }
      for (int type = 0; type < kTypes; ++type) {
        const int count = parts->elements[part][static_cast<std::size_t>(type)];
        if (count != 0) ask(sizeStep(c.step), number, type, count);
      }
    }
  }

  Curiosity curiosity_;
  Inquiry result_;
  std::uint64_t arrays_ = 0;
  int steps_ = 1;
  std::map<int, Parts> parts_;  // by step
};

}  // namespace

Inquiry askEverything(const std::string& path, const Curiosity& curiosity) {
  return Host(curiosity).run(path);
}

}  // namespace morvex
