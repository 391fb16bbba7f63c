// Walks a result file in the order that the library is made for and prints the range of each part
// and variable. Usage: walk FILE
#include <morvex/morvex_ensg.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace {

using Floats = std::vector<float>;

std::size_t sizeOf(int count) {
  return static_cast<std::size_t>(std::max(count, 0));
}

/// Room for texts of any length, uninitialised so that only what is written takes memory.
class Texts {
 public:
  explicit Texts(std::size_t count) : room_(new char[count * MX_TEXT_SIZE + 1]) {
    for (std::size_t i = 0; i < count; ++i) entries_.push_back(&room_[i * MX_TEXT_SIZE]);
  }
  char** data() { return entries_.data(); }
  std::string operator[](std::size_t i) const { return entries_[i]; }

 private:
  std::unique_ptr<char[]> room_;
  std::vector<char*> entries_;
};

void printRange(const std::string& what, const Floats& values) {
  if (values.empty()) return;
  const auto [low, high] = std::minmax_element(values.begin(), values.end());
  std::printf("%s: %zu values from %g to %g\n", what.c_str(), values.size(), *low, *high);
}

/// Asks one question. The library reports missing and damaged data by exceptions, two classes of
/// which are no std::exception; the session goes on after each.
template <class Question>
void attempt(const std::string& what, const Question& question) {
  try {
    question();
  } catch (const std::exception& failure) {
    std::printf("%s: %s\n", what.c_str(), failure.what());
  } catch (...) {
    std::printf("%s: damaged recipe or ambiguous precision\n", what.c_str());
  }
}

//! [geometry]
/// The model's parts at a step.
struct Parts {
  explicit Parts(int step)
      : count(sizeOf(MX_getNumberOfParts())),
        names(count),
        ids(count),
        types(count),
        nodes(count),
        elementCounts(count * MX_ELEMENT_TYPES) {
    std::vector<int*> rows;
    for (std::size_t i = 0; i < count; ++i) rows.push_back(&elementCounts[i * MX_ELEMENT_TYPES]);
    MX_getPartInformation(step, ids.data(), types.data(), names.data(), nodes.data(), rows.data(),
                          nullptr, nullptr);
  }

  std::size_t count;
  Texts names;
  std::vector<int> ids, types, nodes, elementCounts;
};

void readGeometry(const Parts& parts, int step) {
  constexpr int kHexahedra = 26;
  for (int part = 0; part < static_cast<int>(parts.count); ++part) {
    const std::size_t nodes = sizeOf(parts.nodes[part]);
    Floats x(nodes), y(nodes), z(nodes);
    attempt(parts.names[part], [&] {
      const bool isBlock = parts.types[part] != 0;
      const auto read = isBlock ? MX_getBlockStructuredCoordinates : MX_getPartCoordinates;
      read(step, part, x.data(), y.data(), z.data());
      printRange(parts.names[part] + ", x", x);
    });
    const int hexahedra = parts.elementCounts[part * MX_ELEMENT_TYPES + kHexahedra];
    if (hexahedra == 0) continue;  // a file has no dataset for them then
    std::vector<int> connectivity(sizeOf(hexahedra) * 8);
    attempt(parts.names[part], [&] {
      MX_getElementConnectivity(step, part, kHexahedra, connectivity.data());
      std::printf("%s: first hexahedron at node %d\n", parts.names[part].c_str(), connectivity[0]);
    });
  }
}
//! [geometry]

//! [variables]
/// The first component of each variable that has values on the nodes of the model.
void readVariables(bool connectivityChanges) {
  const std::size_t count = sizeOf(MX_getNumberOfVariables());
  Texts names(count);
  std::vector<int> types(count), locations(count), isComplex(count), timesets(count);
  std::vector<int> hasTime(count, 2);  // stays 2 where the variable is no constant
  MX_getVariableInformation(names.data(), nullptr, types.data(), locations.data(), isComplex.data(),
                            nullptr, nullptr, hasTime.data(), timesets.data());
  for (int variable = 0; variable < static_cast<int>(count); ++variable) {
    const bool isConstant = hasTime[variable] != 2;
    const bool isPerNode = locations[variable] == 4;
    if (isConstant || !isPerNode || MX_getVariableGeoType(variable) != 0) continue;
    for (int step = 0; step < MX_getNumberOfTimesteps(timesets[variable]); ++step) {
      // Takes it that variables and geometry have one time set; else their times must be compared.
      const int geometryStep = connectivityChanges ? step : 0;
      const Parts parts(geometryStep);
      for (int part = 0; part < static_cast<int>(parts.count); ++part) {
        const std::string what =
            names[variable] + ", step " + std::to_string(step) + ", " + parts.names[part];
        Floats values(sizeOf(parts.nodes[part]));
        attempt(what, [&] {
          const int answer = MX_getVariableByComponent(
              step, geometryStep, variable, part, types[variable], /*which_type=*/0,
              /*imag_data=*/0, /*component=*/0, values.data());
          if (answer == 0) printRange(what, values);  // 1: not defined on this part
        });
      }
    }
  }
}
//! [variables]

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || MX_openFile(argv[1], 0) != 0) return 1;  // the log has the reason
  Floats times(sizeOf(MX_getNumberOfTimesteps(0)));
  MX_getTimestepsValues(0, times.data());
  printRange("time", times);
  attempt("model", [] {
    const bool connectivityChanges = MX_getGeometryAdaptivityType(0) == 2;
    const int steps = connectivityChanges ? MX_getNumberOfTimesteps(MX_getModelGeoTimeset()) : 1;
    for (int step = 0; step < steps; ++step) readGeometry(Parts(step), step);
    MX_finishedGeometryProcessing();  // frees what only geometry needs
    readVariables(connectivityChanges);
  });
  return MX_exit();
}
