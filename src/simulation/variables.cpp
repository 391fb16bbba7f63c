#include <new>

#include "procedures/factory_table.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/read_support.hpp"

namespace morvex {

using Kelbor::checkedAt;
using Kelbor::getLogger;
using Kelbor::raise;

namespace {

constexpr std::string_view kNonSplitSuffix = "-NONSPLIT";
constexpr std::string_view kNonSplitTreeSuffix = "-NONSPLIT-TRDIFF";

const ClassCreators& variableClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kChunkedZlibTree, ClassTags::kTreeSums, ClassTags::kChunkedZlib,
                       ClassTags::kParallelWrapper, ClassTags::kDequantization,
                       ClassTags::kDecoderZlib, ClassTags::kVectorSums});
  return creators;
}

}  // namespace

void EnsgSimulation::readVariableComponent(int timestep, int variable, int part, int elementType,
                                           int component, bool imaginary, FloatBuffer buffer,
                                           bool keep) {
  const std::string& variableName = checkedAt(metadata_.variableMetaData.names, variable);
  readVariableInto(timestep, variableName, variableGroup(variableName, timestep, part),
                   variableDataset(elementType, component, imaginary), buffer, keep);
}

void EnsgSimulation::readBlockVariableComponent(int timestep, int variable, int part, int component,
                                                bool imaginary, FloatBuffer buffer, bool keep) {
  (void)checkedAt(metadata_.caseMetaData.geometryChangeTypes,
                  SimulationMetadata::perTimestepGeometry);
  readVariableComponent(timestep, variable, part, -1, component, imaginary, buffer, keep);
}

bool EnsgSimulation::usesTimeDiffs(std::string_view variableName) const {
  const auto found = metadata_.usesTimeDiffs.find(variableName);
  return found != metadata_.usesTimeDiffs.end() && found->second;
}

const PatternEntry& EnsgSimulation::patternEntry(const std::string& variableName,
                                                 std::int32_t timestep) const {
  const auto timeset = metadata_.timesetOfVariable.find(variableName);
  const std::int32_t index = timeset == metadata_.timesetOfVariable.end() ? 0 : timeset->second;
  return checkedAt(checkedAt(metadata_.timeDiffPatterns, index), timestep);
}

void EnsgSimulation::readVariableInto(int timestep, const std::string& variableName,
                                      const std::string& group, const std::string& name,
                                      FloatBuffer buffer, bool keep) {
  const std::string path = group + "/" + name;
  const bool inTimeDiffs = usesTimeDiffs(variableName);
  if (inTimeDiffs) {
    const PatternEntry& entry = patternEntry(variableName, timestep);
    getLogger().debug() << "readVariableInto: " << path << "[" << [&] { return toString(entry); }
                        << "]";
  } else {
    getLogger().debug() << "readVariableInto: " << path;
  }

  const PrecisionSetting precision = metadata_.precisions.getPrecision(variableName);
  const bool rawWords = isExact(precision);
  constexpr const char* kMismatch = "variableValues.getDataSize() != buffer.size!";
  if (readFloatsFromStorage(path, buffer, rawWords, kMismatch)) return;

  StoredDataset dataset = openStoredDataset(*this, group, name);
  const ZipRecipe& zipRecipe = recipeOf(dataset.header);
  const auto size = static_cast<std::uint64_t>(buffer.size);
  try {
    fetchAndCacheExternalDependencies(zipRecipe.recipe, size, group, name, variableName);
  } catch (const std::bad_alloc&) {
    throw;  // says nothing about the file: without the dependency values could be others
  } catch (const Kelbor::MemoryAllocationException&) {
    throw;
  } catch (const std::exception& failure) {
    // What was optional may be missing; if it was not, building the chain says so.
    getLogger().warning() << "fetchAndCacheExternalDependencies for ts" << timestep
                          << " failed: " << failure.what();
  }

  const std::string& label = zipRecipe.label;
  ParameterBlock parameters;
  std::string_view outputKey = kDequantized;
  if (label.starts_with(Labels::kAbsolutePrefix)) {
    const bool withDecompression =
        label.ends_with(kNonSplitSuffix) || label.ends_with(kNonSplitTreeSuffix);
    parameters = dequantizationBlock(withDecompression, precision);
  } else if (label.starts_with(Labels::kLinearAdaptivePrefix)) {
    parameters = dequantizationBlock(/*withDecompression=*/true, precision);
  } else if (label == Labels::kDefault) {
    parameters = decompressionBlock(Kelbor::DataTypes::kInt32);
    outputKey = kUncompressed;
  } else {
    raise<std::logic_error>("Unhandled recipe label for readVariableInto()!");
  }

  const auto chain = pullFloats(zipRecipe.recipe, std::move(dataset.payload), group, name,
                                parameters, variableClasses(), outputKey, buffer, rawWords);
  evictAfterVariable(variableName, timestep);
  if (keep) keepFloats(path, buffer, rawWords);
}

}  // namespace morvex
