#include "commands/stored_file.hpp"

#include <array>
#include <exception>

#include "common/exit_codes.hpp"
#include "metadata/exception.hpp"
#include "metadata/metadata_version.hpp"
#include "metadata/record_access.hpp"
#include "procedures/factory_table.hpp"
#include "simulation/dataset_path.hpp"

namespace morvex::tools {
namespace {

namespace ClassTags = Kelbor::MathModule::ClassTags;

/// Real chains have one wrapper; a damaged stream may nest any number.
constexpr std::size_t kDeepestWrapper = 8;

}  // namespace

std::string innerFailureText() {
  // The inner layers have exceptions of their own, some of which are no std::exception.
  try {
    throw;
  } catch (const Kelbor::Exception& failure) {
    return failure.message();
  } catch (const std::exception& failure) {
    return failure.what();
  } catch (const Exception& failure) {
    return failure.getMessage();
  } catch (...) {
    return "unknown failure";
  }
}

ProcedureTagReader::ProcedureTagReader(const Recipe& recipe) : classes_(recipe.classStream) {
  // The version at the beginning of the stream; tags have the same form in all.
  (void)readVersion(classes_);
}

ProcedureTags ProcedureTagReader::next() {
  ProcedureTags tags{.nested = {classes_.read<std::int32_t>()}};
  RecordCursor* classes = &classes_;
  std::optional<RecordCursor> inner;
  while (tags.nested.back() == ClassTags::kParallelWrapper) {
    // The block of a wrapper has a version and the class that it wraps.
    const auto block = classes->take(classes->readCount(1));
    if (tags.nested.size() > kDeepestWrapper) {
      tags.isTooDeep = true;
      break;
    }
    inner.emplace(block);
    classes = &*inner;
    (void)readVersion(*classes);
    tags.nested.push_back(classes->read<std::int32_t>());
  }
  return tags;
}

std::string StoredForm::name() const {
  std::string text = isQuantised ? "quantised" : "exact";
  if (refersToSteps) text += ", time difference";
  if (refersToTree) text += ", tree difference";
  if (isWindow) text += ", id window";
  return text;
}

StoredFile::StoredFile(const std::string& path, const OpenOptions& options)
    : file_(&manager_, path, /*writable=*/false, "", /*compress=*/false) {
  try {
    file_.ensureOpen();
  } catch (...) {
    (void)openFile(path, options);  // has the reason
    throw Failure(kCannotOpen, path + ": " + innerFailureText());
  }
}

std::uint64_t StoredFile::tableOffset() {
  namespace Sdf = Kelbor::MathModule;
  std::array<std::byte, Sdf::kHeaderSize> bytes{};
  if (!file_.readStoredBytes(0, bytes)) throw Failure(kDataError, "the file's header is missing");
  Kelbor::ContainerCursor cursor(bytes);
  return Sdf::readFileHeader(cursor).tableOffset;
}

const std::vector<ZipRecipe>& StoredFile::recipes() {
  if (!recipes_) {
    recipes_.emplace();  // stays empty if the record can't be read, and is not tried again
    // All recipes are in one record; datasets refer to them by index.
    const RecordBytes record(file_, "/kelbor", "recipes");
    if (record) recipes_ = readRecipes(record.bytes());
  }
  return *recipes_;
}

std::optional<DatasetHeader> StoredFile::header(const std::string& group, const std::string& name) {
  const RecordBytes header(file_, group, name, sizeof(DatasetHeader));
  if (!header || header.bytes().size() < sizeof(DatasetHeader)) return std::nullopt;
  return RecordCursor(header.bytes()).read<DatasetHeader>();
}

std::vector<std::string> StoredFile::namesOf(const std::string& name) {
  std::vector<std::string> names{name};
  // Header of quantised values, places and values of outliers, exponents, new ids.
  for (const char* suffix : {kQuantisedSuffix, "_op", "_ov", "_qe", "_notreused"}) {
    names.push_back(name + suffix);
  }
  return names;
}

std::optional<std::uint64_t> StoredFile::bytesOf(const std::string& path) {
  const auto [group, name] = splitDatasetPath(path);
  if (!file_.findDataset(group, name)) return std::nullopt;
  std::uint64_t bytes = 0;
  for (const std::string& part : namesOf(name)) {
    if (const auto info = file_.getDatasetInfo(group, part)) bytes += info->storedSize;
  }
  return bytes;
}

std::optional<StoredForm> StoredFile::formOf(const std::string& path) {
  const auto [group, name] = splitDatasetPath(path);
  const auto own = header(group, name);
  if (!own) return std::nullopt;
  const auto count = static_cast<std::int64_t>(recipes().size());
  if (own->recipeIndex < 0 || own->recipeIndex >= count) return std::nullopt;
  StoredForm form = formOf(own->recipeIndex);
  // The recipe of a split array only dequantises; how the quantised values are stored has its own.
  const auto values = form.isQuantised ? header(group, name + kQuantisedSuffix) : std::nullopt;
  if (values && values->recipeIndex >= 0 && values->recipeIndex < count) {
    const StoredForm inner = formOf(values->recipeIndex);
    form.refersToSteps = form.refersToSteps || inner.refersToSteps;
    form.refersToTree = form.refersToTree || inner.refersToTree;
  }
  return form;
}

StoredForm StoredFile::formOf(std::int32_t recipeIndex) {
  // Thousands of datasets share a recipe.
  if (const auto known = forms_.find(recipeIndex); known != forms_.end()) return known->second;
  const Recipe& recipe = recipes()[static_cast<std::size_t>(recipeIndex)].recipe;
  StoredForm form;
  ProcedureTagReader classes(recipe);
  for (std::size_t i = 0; i < recipe.inputCounts.size(); ++i) {
    switch (classes.next().nested.back()) {
      case ClassTags::kDequantization:
        form.isQuantised = true;
        break;
      case ClassTags::kTreeSums:
      case ClassTags::kChunkedZlibTree:
        form.refersToTree = true;
        break;
      case ClassTags::kIdWindowChain:
        form.isWindow = true;
        break;
      default:
        break;
    }
  }
  for (const Recipe::Input& input : recipe.inputs) {
    const auto* reference = boost::get<ExternalReference>(&input);
    // Keys name another time step by an expression in brackets.
    if (reference && reference->datasetKey.find("[ts") != std::string::npos) {
      form.refersToSteps = true;
    }
  }
  return forms_.emplace(recipeIndex, form).first->second;
}

}  // namespace morvex::tools
