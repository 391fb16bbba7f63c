#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/contents.hpp"
#include "common/quiet_log.hpp"
#include "core/data_manager.hpp"
#include "metadata/record_cursor.hpp"
#include "recipes/recipe.hpp"
#include "sdf/sdf_file.hpp"
#include "simulation/stored_dataset.hpp"

namespace morvex::tools {

/// Ends the name of a dataset that has only the header of quantised values; their payload is that of
/// the dataset without the suffix.
inline constexpr const char* kQuantisedSuffix = "_vquant";

/// The message of the exception in flight. To be called in a catch block.
[[nodiscard]] std::string innerFailureText();

/// The class of a procedure: the tag of a wrapper is followed by that of what it wraps.
struct ProcedureTags {
  std::vector<std::int32_t> nested;
  bool isTooDeep = false;  ///< wrappers within wrappers were cut off
};

/// Reads the classes of a recipe's procedures, one after the other. Throws at a damaged stream.
class ProcedureTagReader {
 public:
  /// `recipe` is borrowed.
  explicit ProcedureTagReader(const Recipe& recipe);
  [[nodiscard]] ProcedureTags next();

 private:
  RecordCursor classes_;
};

/// How the values of a dataset are stored.
struct StoredForm {
  bool isQuantised = false;
  bool refersToSteps = false;  ///< differences from other steps
  bool refersToTree = false;   ///< differences along a tree of the elements
  bool isWindow = false;       ///< ids as references to a window of earlier ones

  /// For example "exact" or "quantised, time difference".
  [[nodiscard]] std::string name() const;
};

/// The container of a result file, for commands that show what is stored. While one lives, the inner
/// layers log nothing.
class StoredFile {
 public:
  /// Failure kCannotOpen.
  StoredFile(const std::string& path, const OpenOptions& options);

  [[nodiscard]] Kelbor::MathModule::SdfFile& file() noexcept { return file_; }
  /// Where the tables of the groups begin; bytes before are the header and payloads. Throws.
  [[nodiscard]] std::uint64_t tableOffset();
  /// The file's recipes. Throws once if the record can't be read; the list is empty from then on.
  [[nodiscard]] const std::vector<ZipRecipe>& recipes();
  /// Of a dataset that a recipe rebuilds; nothing if it is missing or has no header. Throws what a
  /// failed read throws.
  [[nodiscard]] std::optional<DatasetHeader> header(const std::string& group,
                                                    const std::string& name);

  /// Datasets that make an array: its own, and those beside it for outliers, exponents, new ids.
  [[nodiscard]] static std::vector<std::string> namesOf(const std::string& name);
  /// Bytes of these datasets in the payload region, where those of up to 16 bytes have none; nothing
  /// if the file doesn't have the array. Throws for a damaged table.
  [[nodiscard]] std::optional<std::uint64_t> bytesOf(const std::string& path);
  /// Nothing for a missing dataset or an unknown recipe. Throws for damaged recipes.
  [[nodiscard]] std::optional<StoredForm> formOf(const std::string& path);

 private:
  [[nodiscard]] StoredForm formOf(std::int32_t recipeIndex);

  QuietLog quiet_;
  Kelbor::DataManager manager_;
  Kelbor::MathModule::SdfFile file_;
  std::optional<std::vector<ZipRecipe>> recipes_;
  std::map<std::int32_t, StoredForm> forms_;  ///< by recipe
};

}  // namespace morvex::tools
