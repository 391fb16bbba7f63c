#include <algorithm>

#include "commands/container_walk.hpp"
#include "commands/dump.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

using Kelbor::MathModule::DatasetInfo;

/// Where the bytes are: in the tables of the container, or outside, plain or deflated.
const char* storageName(DatasetInfo::Storage storage) {
  switch (storage) {
    case DatasetInfo::Storage::kInlined:
      return "inline";
    case DatasetInfo::Storage::kPlain:
      return "plain";
    default:
      return "deflated";
  }
}

/// Whether datasets of this path begin with a recipe: bulk data does, lists of outliers don't.
bool isRecipeCoded(const std::string& group, const std::string& name) {
  const bool isBulk = group.starts_with("/geometry/") || group.starts_with("/variable/");
  return isBulk && !name.ends_with("_op") && !name.ends_with("_ov");
}

}  // namespace

void Dump::line(const std::string& text) {
  const std::size_t indent = std::min(text.find_first_not_of(' '), text.size());
  put(wrapped(text, terminalWidth(), indent + 4) + "\n");
}

void Dump::heading(const std::string& text) {
  put("\n" + text + "\n");
}

void Dump::fail(const std::string& what) {
  ++failures_;
  line("  FAILED " + shownText(what));
}

std::string Dump::recipeText(const std::string& group, const std::string& name) {
  const auto header = stored_.header(group, name);
  if (!header) return "  no recipe";
  const std::vector<ZipRecipe>& recipes = stored_.recipes();
  const std::int32_t recipe = header->recipeIndex;
  std::string text = "  recipe " + std::to_string(recipe);
  if (recipe >= 0 && static_cast<std::size_t>(recipe) < recipes.size()) {
    text += " \"" + shownText(recipes[static_cast<std::size_t>(recipe)].label) + "\"";
  } else {
    text += ", which is not in the list";
  }
  // Blocks of parameters count from 1; 0 is none.
  if (header->conParamIndex != 0) text += ", parameters " + std::to_string(header->conParamIndex);
  return text;
}

// One line for each dataset, so that its name can be searched for with grep.
void Dump::dataset(const std::string& group, const std::string& name, Subtree& total) {
  const auto info = file_.getDatasetInfo(group, name);
  if (!info) return fail(group + "/" + name + " is listed and can't be found");
  ++total.datasets;
  total.logicalBytes += info->logicalSize;
  total.storedBytes += info->storedSize;
  std::string text = "  " + shownText(name) + "  " + std::to_string(info->logicalSize) +
                     " bytes, " + storageName(info->storage);
  if (info->storage == DatasetInfo::Storage::kDeflated) {
    text += " to " + std::to_string(info->storedSize);
  }
  if (isRecipeCoded(group, name)) text += recipeText(group, name);
  line(text);
}

void Dump::tree(const std::string& group) {
  heading("Groups and datasets");
  // Read now, so that a damaged record is one failure and not one for each dataset.
  attempt("/kelbor/recipes", [&] { (void)stored_.recipes(); });
  Subtree total;
  ContainerWalk(
      file_,
      [&](const std::string& path, std::size_t groups, std::size_t datasets) {
        line(shownText(path) + "  (" + std::to_string(groups) + " groups, " +
             std::to_string(datasets) + " datasets)");
      },
      [&](const std::string& path, const std::string& name) { dataset(path, name, total); },
      [&](const std::string& what) { fail(what); })
      .run(group);
  line(std::to_string(total.datasets) + " datasets, " + std::to_string(total.logicalBytes) +
       " bytes, of which " + std::to_string(total.storedBytes) + " are stored outside the tables");
}

}  // namespace morvex::tools
