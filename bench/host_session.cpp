#include "host_session.hpp"

#include <morvex/morvex_ensg.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace morvex::Bench {
namespace {

// Exceeds every name width in these files.
constexpr std::size_t kTextBytes = 4096;
constexpr int kStatic = 0;
constexpr int kEverythingChanges = 2;
constexpr int kPerNode = 4;

struct Texts {
  explicit Texts(std::size_t count) : bytes(count * kTextBytes) {
    for (std::size_t i = 0; i < count; ++i) rows.push_back(bytes.data() + i * kTextBytes);
  }
  std::vector<char> bytes;
  std::vector<char*> rows;
};

struct Parts {
  explicit Parts(int step) : Parts(static_cast<std::size_t>(MX_getNumberOfParts()), step) {}

  std::vector<int> types;
  std::vector<int> nodes;
  std::vector<std::array<int, MX_ELEMENT_TYPES>> elements;

 private:
  Parts(std::size_t count, int step) : types(count), nodes(count), elements(count) {
    std::vector<int> ids(count);
    Texts names(count);
    std::vector<int*> rows;
    for (auto& row : elements) rows.push_back(row.data());
    MX_getPartInformation(step, ids.data(), types.data(), names.rows.data(), nodes.data(),
                          rows.data(), nullptr, nullptr);
  }
};

struct Variables {
  Variables() : Variables(static_cast<std::size_t>(MX_getNumberOfVariables())) {}

  std::vector<int> types;
  std::vector<int> locations;
  std::vector<int> timeSets;

  [[nodiscard]] int components(std::size_t variable) const {
    constexpr std::array<int, 5> kComponents = {0, 1, 3, 6, 9};
    const auto type = static_cast<std::size_t>(types[variable]);
    return type < kComponents.size() ? kComponents[type] : 0;
  }

 private:
  explicit Variables(std::size_t count) : types(count), locations(count), timeSets(count) {
    Texts names(count);
    Texts descriptions(count);
    std::vector<int> complexFlags(count);
    std::vector<char*> imaginary(count, nullptr);
    MX_getVariableInformation(names.rows.data(), descriptions.rows.data(), types.data(),
                              locations.data(), complexFlags.data(), imaginary.data(), nullptr,
                              nullptr, timeSets.data());
  }
};

struct Lister {
  Listing listing;
  std::size_t room;

  bool add(Question question, std::size_t arrays, int size) {
    if (size <= 0 || arrays * static_cast<std::size_t>(size) > room) return false;
    room -= arrays * static_cast<std::size_t>(size);
    question.firstArray = listing.sizes.size();
    listing.questions.push_back(question);
    listing.sizes.insert(listing.sizes.end(), arrays, static_cast<std::size_t>(size));
    return true;
  }

  void addVariable(Question question, int location, int components, const Parts& parts) {
    const auto part = static_cast<std::size_t>(question.part);
    std::vector<float> probe;
    for (int type = 0; type < (location == kPerNode ? 1 : MX_ELEMENT_TYPES); ++type) {
      const int size = location == kPerNode ? parts.nodes[part]
                                            : parts.elements[part][static_cast<std::size_t>(type)];
      question.elementType = type;
      for (question.component = 0; question.component < components; ++question.component) {
        if (size <= 0 || static_cast<std::size_t>(size) > room) return;
        // Only a read shows whether a variable is defined on a part.
        probe.resize(static_cast<std::size_t>(size));
        if (MX_getVariableByComponent(question.step, question.geometryStep, question.variable,
                                      question.part, question.variableType, type, 0,
                                      question.component, probe.data()) != 0) {
          return;
        }
        add(question, 1, size);
      }
    }
  }
};

}  // namespace

Session::Session(const std::string& path, int threads) {
  MX_setNumberOfOmpThreads(threads);
  if (MX_openFile(path.c_str(), 0) != 0) throw std::runtime_error("Can't open " + path);
}

Session::~Session() {
  MX_exit();
}

std::size_t Listing::values() const {
  return std::accumulate(sizes.begin(), sizes.end(), std::size_t{0});
}

Listing listArrays(std::size_t largest) {
  Lister lister{{}, largest};
  const int change = MX_getGeometryAdaptivityType(0);
  const int states = change == kStatic ? 1 : MX_getNumberOfTimesteps(MX_getModelGeoTimeset());
  const auto stateOf = [change](int step) { return change == kEverythingChanges ? step : 0; };
  for (int step = 0; step < states; ++step) {
    const Parts parts(stateOf(step));
    for (std::size_t p = 0; p < parts.nodes.size(); ++p) {
      if (parts.types[p] != 0) continue;
      lister.add({.step = step, .part = static_cast<int>(p)}, 3, parts.nodes[p]);
    }
  }
  MX_finishedGeometryProcessing();
  const Variables variables;
  for (std::size_t v = 0; v < variables.types.size(); ++v) {
    const auto number = static_cast<int>(v);
    if (MX_getVariableGeoType(number) != 0) continue;
    const int steps = MX_getNumberOfTimesteps(variables.timeSets[v]);
    for (int step = 0; step < steps; ++step) {
      const int geometryStep = std::min(step, states - 1);
      const Parts parts(stateOf(geometryStep));
      for (std::size_t p = 0; p < parts.nodes.size(); ++p) {
        if (parts.types[p] != 0) continue;
        lister.addVariable({.variable = number,
                            .step = step,
                            .geometryStep = stateOf(geometryStep),
                            .part = static_cast<int>(p),
                            .variableType = variables.types[v]},
                           variables.locations[v], variables.components(v), parts);
      }
    }
  }
  return lister.listing;
}

std::uint64_t readTables() {
  const Parts parts(0);
  const Variables variables;
  std::uint64_t arrays = 0;
  std::vector<float> times;
  for (int set = 0; set < MX_getNumberOfTimesets(); ++set) {
    times.resize(static_cast<std::size_t>(MX_getNumberOfTimesteps(set)));
    MX_getTimestepsValues(set, times.data());
  }
  for (std::size_t v = 0; v < variables.types.size(); ++v) {
    arrays += static_cast<std::uint64_t>(MX_getNumberOfTimesteps(variables.timeSets[v])) *
              static_cast<std::uint64_t>(variables.components(v)) * parts.nodes.size();
  }
  return arrays;
}

Arrays emptyArrays(const Listing& listing) {
  Arrays arrays;
  arrays.reserve(listing.sizes.size());
  for (const std::size_t size : listing.sizes) arrays.emplace_back(size, -1.0F);
  return arrays;
}

void ask(const Question& q, Arrays& arrays) {
  float* first = arrays[q.firstArray].data();
  const int status =
      q.variable < 0
          ? MX_getPartCoordinates(q.step, q.part, first, arrays[q.firstArray + 1].data(),
                                  arrays[q.firstArray + 2].data())
          : MX_getVariableByComponent(q.step, q.geometryStep, q.variable, q.part, q.variableType,
                                      q.elementType, 0, q.component, first);
  if (status != 0) throw std::runtime_error("The library refused an array");
}

void askAll(const Listing& listing, Arrays& arrays) {
  for (const Question& question : listing.questions) ask(question, arrays);
}

}  // namespace morvex::Bench
