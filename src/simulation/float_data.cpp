#include "simulation/float_data.hpp"

#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "core/checked.hpp"
#include "procedures/factory_table.hpp"
#include "simulation/dataset_path.hpp"
#include "simulation/dependencies.hpp"
#include "simulation/eviction.hpp"
#include "simulation/host_read.hpp"

namespace morvex {

using Kelbor::getLogger;
using Kelbor::raise;

namespace {

/// The name of coordinates in settings and references, in place of a variable's.
constexpr const char* kCoordinates = "coordinates";
constexpr const char* kMeasuredCoordinates = "mcoordinates";

constexpr std::string_view kNonSplitSuffix = "-NONSPLIT";
constexpr std::string_view kNonSplitTreeSuffix = "-NONSPLIT-TRDIFF";

const ClassCreators& coordinateClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kChunkedZlib, ClassTags::kParallelWrapper,
                       ClassTags::kDequantization, ClassTags::kDecoderZlib});
  return creators;
}

const ClassCreators& variableClasses() {
  using namespace Kelbor::MathModule;
  static const ClassCreators creators =
      classCreatorsOf({ClassTags::kChunkedZlibTree, ClassTags::kTreeSums, ClassTags::kChunkedZlib,
                       ClassTags::kParallelWrapper, ClassTags::kDequantization,
                       ClassTags::kDecoderZlib, ClassTags::kVectorSums});
  return creators;
}

/// What a recipe's label says about its chain.
struct FloatChain {
  const ParameterBlock* parameters;
  std::string_view outputKey;
};

const char* precisionKey(int geometryType) {
  if (geometryType == 0) return kCoordinates;
  if (geometryType == 1) return kMeasuredCoordinates;
  getLogger().error() << "Invalid geometry type";
  raise<InternalError>("Failed to read coordinates");
}

/// True if the result is stored words with the bits of floats, false if it is dequantised values.
bool deliversRawWords(const PrecisionSetting& precision, const GeometryMetadata& geometry, int part,
                      bool raw) {
  if (raw || isExact(precision)) return true;
  if (precision.type != QuantizationType::AdaptiveShiftQuantization) return false;
  return !Kelbor::checkedBit(geometry.coordinatesAdaptive, part);
}

FloatChain coordinateChain(ReadContext& context, std::string_view label,
                           const PrecisionSetting& precision) {
  ParameterBlocks& blocks = context.parameterBlocks;
  if (label.starts_with(Labels::kAbsolutePrefix) || label.starts_with(Labels::kAdaptivePrefix)) {
    return {&blocks.dequantization(/*withDecompression=*/true, precision), kDequantized};
  }
  if (label == Labels::kDefault) {
    return {&blocks.decompression(Kelbor::DataTypes::kInt32), kUncompressed};
  }
  raise<std::logic_error>("Unhandled recipe label for readCoordinatesInto()!");
}

FloatChain variableChain(ReadContext& context, std::string_view label,
                         const PrecisionSetting& precision) {
  ParameterBlocks& blocks = context.parameterBlocks;
  if (label.starts_with(Labels::kAbsolutePrefix)) {
    const bool withDecompression =
        label.ends_with(kNonSplitSuffix) || label.ends_with(kNonSplitTreeSuffix);
    return {&blocks.dequantization(withDecompression, precision), kDequantized};
  }
  if (label.starts_with(Labels::kLinearAdaptivePrefix)) {
    return {&blocks.dequantization(/*withDecompression=*/true, precision), kDequantized};
  }
  if (label == Labels::kDefault) {
    return {&blocks.decompression(Kelbor::DataTypes::kInt32), kUncompressed};
  }
  raise<std::logic_error>("Unhandled recipe label for readVariableInto()!");
}

/// A dataset of floats and the host's buffer.
class FloatRead {
 public:
  /// All arguments are borrowed. `rawWords`: the result is stored words with the bits of floats,
  /// otherwise dequantised values.
  FloatRead(ReadContext& context, const std::string& group, const std::string& name,
            FloatBuffer buffer, bool rawWords)
      : context_(context),
        group_(group),
        name_(name),
        path_(group + "/" + name),
        buffer_(buffer),
        rawWords_(rawWords) {}

  [[nodiscard]] bool fromStorage(const char* mismatch) {
    return rawWords_ ? readFromStorage<std::uint32_t>(context_.storage, path_, buffer_, mismatch)
                     : readFromStorage<float>(context_.storage, path_, buffer_, mismatch);
  }

  /// Builds the dataset's chain and runs it into the buffer. The returned chain still reads from
  /// the cache.
  [[nodiscard]] std::unique_ptr<Kelbor::BranchedChain> pull(
      const Recipe& recipe, std::unique_ptr<Kelbor::DataProvider> payload, const FloatChain& form,
      const ClassCreators& classCreators) {
    const auto size = static_cast<std::uint64_t>(buffer_.size);
    Providers inputs(3);
    inputs[0] = std::move(payload);
    inputs[1] = beside("_op");
    // An empty list of positions counts as no input: procedures then skip the outliers and leave
    // the values as stored.
    if (inputs[1] && inputs[1]->getDataDimension().getNumberOfElements() == 0) inputs[1].reset();
    inputs[2] = beside("_ov");
    auto chain = recipe.buildChain(
        std::move(inputs), Deserializer(context_.manager(), *form.parameters),
        context_.chainSettings(classCreators, size, [this](const std::string& key) {
          return resolveDatasetKey(key, group_, name_);
        }));
    if (rawWords_) {
      pullInto<std::int32_t>(*chain, form.outputKey, buffer_);
    } else {
      pullInto<float>(*chain, form.outputKey, buffer_);
    }
    return chain;
  }

  void keepInStorage() {
    const auto type = rawWords_ ? Kelbor::DataTypes::kInt32 : Kelbor::DataTypes::kFloat;
    morvex::keepInStorage(context_, path_, type, buffer_);
  }

 private:
  [[nodiscard]] std::unique_ptr<Kelbor::DataProvider> beside(const char* suffix) {
    return context_.file.getDataProvider(group_, name_ + suffix, 0, 0);
  }

  ReadContext& context_;
  const std::string& group_;
  const std::string& name_;
  std::string path_;
  FloatBuffer buffer_;
  bool rawWords_;
};

void logVariable(const SimulationMetadata& metadata, int timestep, const std::string& variableName,
                 const std::string& group, const std::string& name) {
  const PatternEntry* entry = metadata.usesTimeDiffsOf(variableName)
                                  ? &metadata.patternEntryOf(variableName, timestep)
                                  : nullptr;
  const auto pattern = [&] { return entry ? "[" + toString(*entry) + "]" : std::string(); };
  getLogger().debug() << "readVariableInto: " << group << "/" << name << pattern;
}

}  // namespace

void readCoordinatesInto(ReadContext& context, const std::string& group, const std::string& name,
                         int part, int geometryType, const GeometryMetadata& geometryMetadata,
                         FloatBuffer buffer, bool raw, bool keep) {
  const PrecisionSetting& precision = context.precisions.getPrecision(precisionKey(geometryType));
  FloatRead read(context, group, name, buffer,
                 deliversRawWords(precision, geometryMetadata, part, raw));
  const FailureNote note(context, group, name);
  if (read.fromStorage("coordinates.getDataSize() != buffer.size!")) return;

  StoredDataset dataset = openStoredDataset(context, group, name);
  const ZipRecipe& zipRecipe = context.recipeOf(dataset.header);
  fetchAndCacheExternalDependencies(context, zipRecipe.recipe,
                                    static_cast<std::uint64_t>(buffer.size), group, name,
                                    kCoordinates);
  (void)read.pull(zipRecipe.recipe, std::move(dataset.payload),
                  coordinateChain(context, zipRecipe.label, precision), coordinateClasses());
  if (keep) read.keepInStorage();
}

void readVariableInto(ReadContext& context, int timestep, const std::string& variableName,
                      const std::string& group, const std::string& name, FloatBuffer buffer,
                      bool keep) {
  logVariable(context.metadata, timestep, variableName, group, name);
  const PrecisionSetting& precision = context.precisions.getPrecision(variableName);
  FloatRead read(context, group, name, buffer, isExact(precision));
  const FailureNote note(context, group, name);
  if (read.fromStorage("variableValues.getDataSize() != buffer.size!")) return;

  StoredDataset dataset = openStoredDataset(context, group, name);
  const ZipRecipe& zipRecipe = context.recipeOf(dataset.header);
  try {
    fetchAndCacheExternalDependencies(context, zipRecipe.recipe,
                                      static_cast<std::uint64_t>(buffer.size), group, name,
                                      variableName);
  } catch (const std::bad_alloc&) {
    throw;  // not the file's fault: without the dependency, values could differ
  } catch (const Kelbor::MemoryAllocationException&) {
    throw;
  } catch (const std::exception& failure) {
    // If a missing dependency was not optional, building the chain raises it.
    getLogger().warning() << "fetchAndCacheExternalDependencies for ts" << timestep
                          << " failed: " << failure.what();
  }
  const auto chain =
      read.pull(zipRecipe.recipe, std::move(dataset.payload),
                variableChain(context, zipRecipe.label, precision), variableClasses());
  evictAfterVariable(context.externalDependencyCache, context.metadata, variableName, timestep);
  if (keep) read.keepInStorage();
}

}  // namespace morvex
