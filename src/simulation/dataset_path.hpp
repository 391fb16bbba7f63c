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
// Component 3 is the time step, 4 the part, 5 the dataset. Numbers are plain decimals. A path with
// too few components raises std::out_of_range "invalid vector<T> subscript"; one without a required
// number raises boost::bad_lexical_cast.

/// The group of a part: "/geometry/" + geometry type + "/" + step + "/" + part.
[[nodiscard]] std::string geometryGroup(int geometryType, int timestep, int part);
/// The group of a part's variable: "/variable/" + name + "/" + step + "/" + part.
[[nodiscard]] std::string variableGroup(const std::string& variable, int timestep, int part);
/// The dataset of a variable's component: "6_0_data", without the element type if that is negative;
/// "_data_imag" for the imaginary part.
[[nodiscard]] std::string variableDataset(int elementType, int component, bool imaginary);
/// The dataset of an element type: "6_elementnodeids".
[[nodiscard]] std::string elementDataset(int elementType, std::string_view suffix);

/// Splits a path at its last "/" into group and name.
[[nodiscard]] std::pair<std::string, std::string> splitDatasetPath(const std::string& path);

[[nodiscard]] std::string injectTimeStepIntoVariablePath(const std::string& path,
                                                         std::int64_t timestep);
/// Inserts the part into the path, and the element type into the dataset's name in place of all up
/// to the last ">".
[[nodiscard]] std::string injectPartAndElementIntoVariablePath(const std::string& path, int part,
                                                               int elementType);
[[nodiscard]] int extractTimeStepFromVariablePath(const std::string& path);
[[nodiscard]] int extractPartNumberFromVariablePath(const std::string& path);
/// The number before the first "_" of a dataset's name.
[[nodiscard]] int extractElementTypeFromParentDataset(const std::string& name);

/// The path for the key of an external reference, in the recipe of the dataset `name` of `group`:
///
///   _suffix              the dataset beside this one with a longer name
///   [ts-1], other[ts+2]  this dataset, or another of the group, at that distance in steps
///   ..<p>..<e>..         a path's template, for this part and this element type
///   anything else        relative to the group
///
/// InternalError "timeStepDistanceInt=0!" for a distance of 0.
[[nodiscard]] std::string resolveDatasetKey(const std::string& key, const std::string& group,
                                            const std::string& name);

}  // namespace morvex
