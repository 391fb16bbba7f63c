#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace morvex {

// Dataset paths. Split at "/", the empty text before the leading slash is component 0:
//
//   /geometry/0/12/3/coordinates_0       /variable/stress/12/3/6_0_data
//            1 2  3 4 5                            1      2  3 4 5
//
// Component 3 is the time step, 4 the part, 5 the dataset. Numbers are plain decimals. A path that
// has too few components is refused with std::out_of_range "invalid vector<T> subscript", one that
// has no number where one is needed with boost::bad_lexical_cast.

/// The group of a part: "/geometry/" + geometry type + "/" + step + "/" + part.
[[nodiscard]] std::string geometryGroup(int geometryType, int timestep, int part);
/// "/variable/" + name + "/" + step + "/" + part.
[[nodiscard]] std::string variableGroup(const std::string& variable, int timestep, int part);
/// A component of a variable: "6_0_data", or without the element type where that is negative;
/// "_data_imag" for the imaginary part.
[[nodiscard]] std::string variableDataset(int elementType, int component, bool imaginary);
/// Data of an element type: "6_elementnodeids".
[[nodiscard]] std::string elementDataset(int elementType, std::string_view suffix);

/// A path parted at its last "/" into group and name.
[[nodiscard]] std::pair<std::string, std::string> splitDatasetPath(const std::string& path);

[[nodiscard]] std::string injectTimeStepIntoVariablePath(const std::string& path,
                                                         std::int64_t timestep);
/// Puts the part in its place, and the element type in the dataset's, up to and with the last ">".
[[nodiscard]] std::string injectPartAndElementIntoVariablePath(const std::string& path, int part,
                                                               int elementType);
[[nodiscard]] int extractTimeStepFromVariablePath(const std::string& path);
[[nodiscard]] int extractPartNumberFromVariablePath(const std::string& path);
/// The number in front of the first "_" of a dataset's name.
[[nodiscard]] int extractElementTypeFromParentDataset(const std::string& name);

/// The path that the key of an external reference means, in the recipe of the dataset `name` of
/// `group`:
///
///   _suffix              the dataset beside this one with a longer name
///   [ts-1], other[ts+2]  this dataset, or another of the group, that many steps away
///   ..<p>..<e>..         a template of a path, for this part and this element type
///   anything else        relative to the group
///
/// InternalError "timeStepDistanceInt=0!" for a distance of no step.
[[nodiscard]] std::string resolveDatasetKey(const std::string& key, const std::string& group,
                                            const std::string& name);

}  // namespace morvex
