#include "facts.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "failures.hpp"
#include "morvex/morvex_ensg.h"
#include "name_lists.hpp"

namespace morvex::guard {
namespace {

static_assert(MXG_ELEMENT_TYPES == MX_ELEMENT_TYPES);
static_assert(sizeof(int) == sizeof(std::int32_t) && sizeof(short) == sizeof(std::int16_t));

constexpr std::size_t kTypes = MXG_ELEMENT_TYPES;
constexpr std::size_t kExtents = 4;

/// Arrays that take a table of parts from the library.
struct PartArrays {
  explicit PartArrays(std::size_t n)
      : ids(n), types(n), nodes(n), elements(n * kTypes), extents(n * kExtents) {
    for (std::size_t i = 0; i < n; ++i) {
      elementRows.push_back(elements.data() + i * kTypes);
      extentRows.push_back(extents.data() + i * kExtents);
    }
  }

  [[nodiscard]] mxg_part part(std::size_t i) const {
    mxg_part part{};
    part.id = ids[i];
    part.type = types[i];
    part.nodes = static_cast<std::uint32_t>(nodes[i]);
    std::transform(elementRows[i], elementRows[i] + kTypes, part.elements,
                   [](int count) { return static_cast<std::uint32_t>(count); });
    std::copy_n(extentRows[i], kExtents, part.extents);
    return part;
  }

  std::vector<int> ids, types, nodes, elements, extents;
  std::vector<int*> elementRows, extentRows;
};

/// Steps of a time set whose index stands in the file.
std::uint64_t storedSteps(std::int32_t timeset) {
  return counted(MX_getNumberOfTimesteps(timeset));
}

/// Only constants answer whether they have a time set: a value that is no answer marks all others.
constexpr int kNotAnswered = 2;

}  // namespace

void requireIndex(std::int32_t index, std::uint64_t count, const char* what) {
  if (index >= 0 && static_cast<std::uint64_t>(index) < count) return;
  refuse(MXG_OUT_OF_RANGE, "there is no " + std::string(what) + " " + std::to_string(index) +
                               ", their number is " + std::to_string(count));
}

std::uint64_t counted(int answer) {
  if (answer < 0) refuse(MXG_TOO_LARGE, "there are more than the interface can count");
  return static_cast<std::uint64_t>(answer);
}

std::uint64_t countable(std::uint64_t count) {
  if (count > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
    refuse(MXG_TOO_LARGE, std::to_string(count) + " are more than the interface can count");
  }
  return count;
}

void requireAnswered(int status) {
  if (status != 0) refuse(MXG_REFUSED, "refused");
}

std::uint64_t Facts::timesets() {
  return counted(MX_getNumberOfTimesets());
}

std::uint64_t Facts::steps(std::int32_t timeset) {
  // A file without time sets answers as if it had one.
  requireIndex(timeset, std::max<std::uint64_t>(timesets(), 1), "time set");
  return storedSteps(timeset);
}

const Geometry& Facts::geometry(std::int32_t which) {
  requireIndex(which, geometries_.size(), "geometry");
  std::optional<Geometry>& geometry = geometries_[static_cast<std::size_t>(which)];
  if (!geometry) geometry = readGeometry(which);
  return *geometry;
}

Geometry Facts::readGeometry(std::int32_t which) {
  // A question after the changes of particles that are not there would leave a line in the log.
  const bool isPresent = which == MXG_MODEL || MX_hasMeasuredGeometry() != 0;
  Geometry geometry{.adaptivity = isPresent ? MX_getGeometryAdaptivityType(which) : -1};
  if (geometry.adaptivity < 0) {
    refuse(MXG_NO_SUCH_DATA,
           which == MXG_MODEL ? "the file has no model" : "the file has no measured particles");
  }
  geometry.timeset = which == MXG_MODEL ? MX_getModelGeoTimeset() : MX_getMeasuredGeoTimeset();
  return geometry;
}

std::int32_t Facts::state(std::int32_t which, std::int32_t step) {
  const Geometry& asked = geometry(which);
  requireIndex(step, asked.adaptivity == MXG_STATIC ? 1 : storedSteps(asked.timeset), "step");
  return asked.adaptivity == MXG_CONNECTIVITY_CHANGES ? step : 0;
}

std::int32_t Facts::coordinateState(std::int32_t which, std::int32_t step) {
  const std::int32_t bulkState = state(which, step);
  if (geometry(which).adaptivity != MXG_COORDINATES_CHANGE) return bulkState;
  // One state is enough where nothing but coordinates changes. A file with more has the library
  // read each step by the sizes of its own state, up to the last.
  std::optional<std::int32_t>& last = lastStates_[static_cast<std::size_t>(which)];
  if (!last) {
    std::int32_t found = 0;
    while (hasState(which, found + 1)) ++found;
    last = found;
  }
  return std::min(step, *last);
}

bool Facts::hasState(std::int32_t which, std::int32_t state) {
  try {
    if (which == MXG_MODEL) {
      (void)readParts(state);
    } else {
      (void)particles(state);
    }
    return true;
  } catch (const std::out_of_range&) {
    return false;
  }
}

std::uint64_t Facts::partCount() {
  (void)geometry(MXG_MODEL);
  return counted(MX_getNumberOfParts());
}

const PartTable& Facts::parts(std::int32_t state) {
  if (state != partsState_) {
    partsState_ = -1;
    parts_ = readParts(state);
    partsState_ = state;
  }
  return parts_;
}

PartTable Facts::readParts(std::int32_t state) {
  const auto n = static_cast<std::size_t>(partCount());
  if (n == 0) return {};
  PartArrays arrays(n);
  std::vector<int> firstIds;
  const NameLists names(1, n, [&](std::vector<std::vector<char*>>& lists, bool isSecond) {
    if (isSecond) firstIds = arrays.ids;
    std::ranges::fill(arrays.ids, isSecond ? 1 : 0);
    requireAnswered(MX_getPartInformation(
        state, arrays.ids.data(), arrays.types.data(), lists[0].data(), arrays.nodes.data(),
        arrays.elementRows.data(), arrays.extentRows.data(), nullptr));
  });
  // A later state may have fewer parts than the first. What it has is the same both times.
  const auto filled = std::ranges::mismatch(firstIds, arrays.ids).in1 - firstIds.begin();
  PartTable table;
  for (std::size_t i = 0; i < static_cast<std::size_t>(filled); ++i) {
    table.names.push_back(names.at(0, i));
    mxg_part& part = table.parts.emplace_back(arrays.part(i));
    part.name_size = table.names.back().size() + 1;
  }
  return table;
}

const mxg_part& Facts::part(std::int32_t state, std::int32_t index) {
  const std::vector<mxg_part>& all = parts(state).parts;
  requireIndex(index, all.size(), "part");
  return all[static_cast<std::size_t>(index)];
}

std::array<std::uint64_t, MXG_ELEMENT_TYPES> Facts::borderFaces(std::int32_t state,
                                                                std::int32_t part) {
  std::array<int, kTypes> stored{};
  // The answer is about triangles and quadrilaterals alone; the counts are filled in any case.
  (void)MX_hasBorderFaces(state, part, stored.data());
  std::array<std::uint64_t, kTypes> faces{};
  std::ranges::transform(stored, faces.begin(),
                         [](int count) { return static_cast<std::uint32_t>(count); });
  return faces;
}

std::uint64_t Facts::particles(std::int32_t state) {
  return counted(MX_getNumberOfMeasuredParticles(state));
}

const VariableTable& Facts::variables() {
  if (variables_) return *variables_;
  const auto n = static_cast<std::size_t>(counted(MX_getNumberOfVariables()));
  VariableTable table;
  if (n != 0) {
    std::vector<int> types(n), locations(n), complexFlags(n), hasTime(n), timesets(n);
    std::vector<float> frequencies(n);
    const NameLists texts(3, n, [&](std::vector<std::vector<char*>>& lists, bool) {
      std::ranges::fill(frequencies, 1.0F);
      std::ranges::fill(hasTime, kNotAnswered);
      requireAnswered(MX_getVariableInformation(
          lists[MXG_NAME].data(), lists[MXG_DESCRIPTION].data(), types.data(), locations.data(),
          complexFlags.data(), lists[MXG_IMAGINARY_NAME].data(), frequencies.data(), hasTime.data(),
          timesets.data()));
    });
    for (std::size_t i = 0; i < n; ++i) {
      mxg_variable& variable = table.variables.emplace_back();
      variable = {.type = types[i],
                  .location = locations[i],
                  .is_complex = complexFlags[i],
                  .frequency = frequencies[i],
                  .is_constant = hasTime[i] != kNotAnswered ? 1 : 0,
                  .has_time = hasTime[i] != 0 ? 1 : 0,
                  .timeset = timesets[i],
                  .geometry = MX_getVariableGeoType(static_cast<int>(i)),
                  .text_size = {}};
      for (std::size_t list = 0; list < table.texts.size(); ++list) {
        variable.text_size[list] = table.texts[list].emplace_back(texts.at(list, i)).size() + 1;
      }
    }
  }
  variables_ = std::move(table);
  return *variables_;
}

const mxg_variable& Facts::variable(std::int32_t index) {
  const std::vector<mxg_variable>& all = variables().variables;
  requireIndex(index, all.size(), "variable");
  return all[static_cast<std::size_t>(index)];
}

std::uint64_t Facts::variableSteps(const mxg_variable& variable) {
  return variable.has_time != 0 ? storedSteps(variable.timeset) : 1;
}

}  // namespace morvex::guard
