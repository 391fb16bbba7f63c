#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace morvex {

/// The result variables of the case. Each vector has one entry for each variable.
struct VariableMetaData {
  std::vector<std::string> names;
  /// The host gets 5 as 1 and 6 as 2, all other values unchanged.
  std::vector<std::uint32_t> types;
  std::vector<std::uint32_t> locations;     ///< 4 per node, 1 per element of an element type.
  std::vector<std::uint32_t> complexFlags;  ///< Non-zero: complex.
  std::vector<float> frequencies;           ///< Of a complex variable.
  std::vector<std::uint32_t> timesets;
  std::vector<std::uint32_t> geometryIndices;  ///< 0 model geometry, 1 measured geometry.
  std::vector<std::string> descriptions;
  std::vector<std::string> imaginaryDescriptions;
  std::vector<std::uint32_t> constantFlags;                 ///< Non-zero: one value for the case.
  std::vector<std::vector<float>> constantValues;           ///< [variable][step]
  std::vector<std::vector<float>> imaginaryConstantValues;  ///< [variable][step]
  std::vector<std::vector<bool>> definedOnPart;  ///< [variable][part]; empty for a constant.
  std::vector<std::uint32_t> dataTypes;          ///< Kept, not interpreted.
  std::vector<bool> usesTimeDiffs;               ///< The steps are stored as time differences.
  std::vector<std::string> datasetNames;         ///< `names` where the record stores none.
};

/// Reads the record "variablemetadata". `partCounts` has, for each geometry, the number of parts
/// of its first state. UsageException for a version above 0.1.0, InternalError for bytes that
/// can't be read or a `nameWidth` above 1 MiB, std::out_of_range for a variable on a missing
/// geometry.
[[nodiscard]] VariableMetaData readVariableMetaData(std::span<const std::byte> bytes,
                                                    std::uint64_t numVariables,
                                                    std::uint64_t nameWidth,
                                                    std::span<const std::uint64_t> partCounts);

}  // namespace morvex
