#include "contents.hpp"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "failure_text.hpp"
#include "morvex/morvex_ensg.h"
#include "text_table.hpp"

namespace morvex::tools {
namespace {

/// No file has longer names.
constexpr std::size_t kLongestName = 1048576;

/// A count that no part has: the library's counts are not negative where they can be used.
constexpr std::int32_t kNotFilled = -1;

void require(int status, const char* question) {
  if (status != 0) throw std::runtime_error(std::string(question) + " was refused");
}

/// Strings that the library fills. It tells no width for them, and room for the longest possible
/// name in each would be a megabyte for each part. So the same question is asked twice: first with
/// one buffer for all strings, in which the last zero is the end of the longest, then with strings
/// of that length.
class NameLists {
 public:
  /// `fill` gets an array of `count` pointers for each list and asks the library.
  template <class Fill>
  NameLists(std::size_t lists, std::size_t count, const Fill& fill) : count_(count) {
    std::string shared(kLongestName + 1, '\1');
    std::vector<std::vector<char*>> targets(lists, std::vector<char*>(count, shared.data()));
    fill(targets);
    const std::size_t lastZero = shared.rfind('\0');
    stride_ = lastZero == std::string::npos ? 1 : lastZero + 1;
    if (count != 0 && stride_ > texts_.max_size() / count / lists) throw std::bad_alloc();
    texts_.assign(lists * count * stride_, '\0');
    for (std::size_t k = 0; k < lists * count; ++k) {
      targets[k / count][k % count] = texts_.data() + k * stride_;
    }
    fill(targets);
  }

  [[nodiscard]] std::string at(std::size_t list, std::size_t index) const {
    return texts_.data() + (list * count_ + index) * stride_;
  }

 private:
  std::size_t count_;
  std::size_t stride_ = 1;
  std::vector<char> texts_;
};

/// Asks one question; a failure leaves a line in `problems`.
template <class Ask>
void attempt(Contents& contents, const std::string& question, const Ask& ask) {
  try {
    ask();
  } catch (...) {
    contents.problems.push_back(question + ": " + failureText());
  }
}

int stepsOf(const Contents& contents, int timeSet) {
  if (contents.timeSets.empty()) return std::max(0, MX_getNumberOfTimesteps(timeSet));
  return static_cast<int>(contents.timeSets.at(static_cast<std::size_t>(timeSet)).size());
}

Geometry readGeometry(const Contents& contents, int type) {
  Geometry geometry;
  geometry.adaptivity = static_cast<Adaptivity>(MX_getGeometryAdaptivityType(type));
  if (!geometry.isPresent()) return geometry;
  geometry.timeSet = type == 0 ? MX_getModelGeoTimeset() : MX_getMeasuredGeoTimeset();
  geometry.steps =
      geometry.adaptivity == Adaptivity::fixed ? 1 : stepsOf(contents, geometry.timeSet);
  return geometry;
}

void readTimeSets(Contents& contents) {
  const int count = MX_getNumberOfTimesets();
  for (int set = 0; set < count; ++set) {
    auto& times = contents.timeSets.emplace_back();
    attempt(contents, "Time set " + std::to_string(set), [&] {
      times.resize(static_cast<std::size_t>(std::max(0, MX_getNumberOfTimesteps(set))));
      if (!times.empty()) require(MX_getTimestepsValues(set, times.data()), "The list of times");
    });
  }
}

void readVariables(Contents& contents) {
  const auto count = static_cast<std::size_t>(std::max(0, MX_getNumberOfVariables()));
  if (count == 0) return;
  std::vector<int> types(count);
  std::vector<int> locations(count);
  std::vector<int> complexFlags(count);
  std::vector<int> timeSets(count);
  std::vector<float> frequencies(count);
  // Only constants answer: a value that the library never gives marks all others.
  constexpr int kNotAnswered = 2;
  std::vector<int> hasTime(count);
  const NameLists texts(3, count, [&](std::vector<std::vector<char*>>& lists) {
    std::ranges::fill(frequencies, 1.0F);
    std::ranges::fill(hasTime, kNotAnswered);
    require(MX_getVariableInformation(lists[0].data(), lists[1].data(), types.data(),
                                      locations.data(), complexFlags.data(), lists[2].data(),
                                      frequencies.data(), hasTime.data(), timeSets.data()),
            "The table of variables");
  });
  for (std::size_t i = 0; i < count; ++i) {
    Variable variable{.name = texts.at(0, i),
                      .description = texts.at(1, i),
                      .type = types[i],
                      .location = locations[i],
                      .isComplex = complexFlags[i] != 0,
                      .imaginaryDescription = texts.at(2, i),
                      .frequency = frequencies[i],
                      .isConstant = hasTime[i] != kNotAnswered,
                      .isTransient = hasTime[i] != 0,
                      .timeSet = timeSets[i]};
    attempt(contents, "Variable " + shownText(variable.name), [&] {
      variable.steps = variable.isTransient ? stepsOf(contents, variable.timeSet) : 1;
      const int geometry = MX_getVariableGeoType(static_cast<int>(i));
      if (geometry != 0 && geometry != 1) {
        throw std::runtime_error("geometry " + std::to_string(geometry) + " is unknown");
      }
      variable.isMeasured = geometry == 1;
    });
    contents.variables.push_back(std::move(variable));
  }
}

}  // namespace

OpenFile::OpenFile(const std::string& path) {
  if (MX_openFile(path.c_str(), 0) != 0) throw std::runtime_error("Can't open " + path);
}

OpenFile::~OpenFile() {
  MX_exit();
}

int Variable::components() const noexcept {
  static constexpr std::array<int, 5> kComponents{0, 1, 3, 6, 9};
  return type >= 0 && type < 5 ? kComponents[static_cast<std::size_t>(type)] : 0;
}

Contents readContents() {
  Contents contents;
  attempt(contents, "Time sets", [&] { readTimeSets(contents); });
  attempt(contents, "Model", [&] {
    contents.model = readGeometry(contents, 0);
    if (contents.model.isPresent()) contents.partCount = std::max(0, MX_getNumberOfParts());
  });
  attempt(contents, "Measured particles", [&] {
    if (MX_hasMeasuredGeometry() != 0) contents.measured = readGeometry(contents, 1);
  });
  attempt(contents, "Variables", [&] { readVariables(contents); });
  return contents;
}

std::vector<Part> readParts(const Contents& contents, int step) {
  const int state = contents.model.stateAt(step);
  const auto count = static_cast<std::size_t>(contents.partCount);
  std::vector<Part> parts(count);
  if (count == 0) return parts;
  std::vector<int> ids(count);
  std::vector<int> types(count);
  std::vector<int> nodes(count);
  std::vector<int*> elements;
  std::vector<int*> extents;
  for (Part& part : parts) {
    part.elements.fill(kNotFilled);
    elements.push_back(part.elements.data());
    extents.push_back(part.extents.data());
  }
  const NameLists names(1, count, [&](std::vector<std::vector<char*>>& lists) {
    require(MX_getPartInformation(state, ids.data(), types.data(), lists[0].data(), nodes.data(),
                                  elements.data(), extents.data(), nullptr),
            "The table of parts");
  });
  // A later state may have fewer parts than the first.
  std::erase_if(parts, [](const Part& part) { return part.elements.back() == kNotFilled; });
  for (std::size_t i = 0; i < parts.size(); ++i) {
    parts[i].id = ids[i];
    parts[i].type = types[i];
    parts[i].name = names.at(0, i);
    parts[i].nodes = nodes[i];
    // The answer is about triangles and quadrilaterals alone; the counts are filled in any case.
    (void)MX_hasBorderFaces(state, static_cast<int>(i), parts[i].borderFaces.data());
  }
  return parts;
}

std::optional<Box> readBox(const Contents& contents, int step) {
  if (!contents.model.isPresent()) return std::nullopt;
  std::array<float, 6> values{};
  require(MX_getBoundingBox(contents.model.stateAt(step), values.data()), "The box");
  Box box;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const bool inPairs = contents.model.adaptivity == Adaptivity::fixed;
    box.low[axis] = inPairs ? values[2 * axis] : values[axis];
    box.high[axis] = inPairs ? values[2 * axis + 1] : values[axis + 3];
  }
  if (!box.isFilled()) return std::nullopt;
  return box;
}

float readConstant(int variable, int step) {
  float real = 0.0F;
  float imaginary = 0.0F;
  require(MX_getConstantValue(step, variable, &real, &imaginary), "The constant");
  return real;
}

}  // namespace morvex::tools
