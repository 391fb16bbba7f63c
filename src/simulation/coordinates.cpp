#include <string>

#include "procedures/factory_table.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/read_support.hpp"

namespace morvex {

using Kelbor::checkedAt;
using Kelbor::raise;

namespace {

/// The name that stands for coordinates where settings and references go by variable.
constexpr const char* kCoordinates = "coordinates";
constexpr const char* kMeasuredCoordinates = "mcoordinates";

const ClassCreators& coordinateClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kChunkedZlib, ClassTags::kParallelWrapper,
                       ClassTags::kDequantization, ClassTags::kDecoderZlib});
  return creators;
}

std::string precisionKey(int geometryType) {
  if (geometryType == 0) return kCoordinates;
  if (geometryType == 1) return kMeasuredCoordinates;
  Kelbor::getLogger().error() << "Invalid geometry type";
  raise<InternalError>("Failed to read coordinates");
}

/// True if the result is the stored words, which are the bits of floats; false if it is values
/// that a dequantisation has made.
bool deliversRawWords(const PrecisionSetting& precision, const GeometryMetadata& geometry, int part,
                      bool raw) {
  if (raw || isExact(precision)) return true;
  if (precision.type != QuantizationType::AdaptiveShiftQuantization) return false;
  return !Kelbor::checkedBit(geometry.coordinatesAdaptive, part);
}

}  // namespace

void EnsgSimulation::readCoordinates(int timestep, int part, int geometryType, int axis,
                                     FloatBuffer buffer, bool raw) {
  const auto geometryCount = static_cast<std::int64_t>(metadata_.geometryMetaData.size());
  const bool exists = geometryType >= 0 && geometryType < geometryCount;
  const auto& kinds = metadata_.caseMetaData.geometryKinds;
  if (!exists && checkedAt(kinds, 0) != geometryType) {
    throw std::out_of_range(Kelbor::kInvalidVectorSubscript);
  }
  readCoordinatesInto(geometryGroup(geometryType, timestep, part),
                      "coordinates_" + std::to_string(axis), part, geometryType,
                      bulkState(exists ? geometryType : 0, timestep), buffer, raw,
                      /*keep=*/false);
}

void EnsgSimulation::readCoordinatesInto(const std::string& group, const std::string& name,
                                         int part, int geometryType,
                                         const GeometryMetadata& geometryMetadata,
                                         FloatBuffer buffer, bool raw, bool keep) {
  const PrecisionSetting precision = metadata_.precisions.getPrecision(precisionKey(geometryType));
  const bool rawWords = deliversRawWords(precision, geometryMetadata, part, raw);
  const std::string path = group + "/" + name;
  constexpr const char* kMismatch = "coordinates.getDataSize() != buffer.size!";
  if (readFloatsFromStorage(path, buffer, rawWords, kMismatch)) return;

  StoredDataset dataset = openStoredDataset(*this, group, name);
  const ZipRecipe& zipRecipe = recipeOf(dataset.header);
  const auto size = static_cast<std::uint64_t>(buffer.size);
  fetchAndCacheExternalDependencies(zipRecipe.recipe, size, group, name, kCoordinates);

  const std::string& label = zipRecipe.label;
  ParameterBlock parameters;
  std::string_view outputKey;
  if (label.starts_with(Labels::kAbsolutePrefix) || label.starts_with(Labels::kAdaptivePrefix)) {
    parameters = dequantizationBlock(/*withDecompression=*/true, precision);
    outputKey = kDequantized;
  } else if (label == Labels::kDefault) {
    parameters = decompressionBlock(Kelbor::DataTypes::kInt32);
    outputKey = kUncompressed;
  } else {
    raise<std::logic_error>("Unhandled recipe label for readCoordinatesInto()!");
  }

  (void)pullFloats(zipRecipe.recipe, std::move(dataset.payload), group, name, parameters,
                   coordinateClasses(), outputKey, buffer, rawWords);
  if (keep) keepFloats(path, buffer, rawWords);
}

}  // namespace morvex
