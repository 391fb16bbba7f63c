// `morvex dump`: shows a result file as stored, for people who work on the format. It uses the inner
// layers, not the library.

#include <algorithm>
#include <memory>

#include "commands/command.hpp"
#include "commands/dump.hpp"
#include "common/output.hpp"
#include "common/quiet_log.hpp"

namespace morvex::tools {
namespace {

struct DumpOptions {
  std::string file;
  std::string group = "/";
  bool recipes = false;
  bool records = false;
  bool tree = false;
  int limit = 12;
};

/// Failure kUsageError, with similar ones, for a group that the file doesn't have.
void requireGroup(StoredFile& file, const std::string& group) {
  const std::string parent = group.substr(0, group.rfind('/') + 1);
  std::vector<std::string> names;
  try {
    file.file().listGroups(parent.size() > 1 ? parent.substr(0, parent.size() - 1) : "/", names);
  } catch (...) {
    return;  // the tree shows what is damaged
  }
  for (std::string& name : names) name.insert(0, parent);
  if (std::ranges::find(names, group) != names.end()) return;
  throw Failure(kUsageError, "there is no group '" + group + "'" + suggestion(group, names));
}

ExitCode dumpFile(const DumpOptions& options, const Common& common) {
  const QuietLog quiet;
  StoredFile file(options.file, common.open);
  // A group alone asks for the tree below it; without any choice everything is shown.
  const bool hasGroup = options.group != "/";
  const bool all = !options.recipes && !options.records && !options.tree && !hasGroup;
  if (hasGroup) requireGroup(file, options.group);
  Dump dump(file);
  if (all || options.records) dump.records(static_cast<std::size_t>(options.limit));
  if (all || options.recipes) dump.recipes();
  if (all || options.tree || hasGroup) dump.tree(options.group);
  return dump.failures() == 0 ? kSuccess : kDataError;
}

}  // namespace

Command addDump(CLI::App& program, const Common& common) {
  CLI::App* app =
      program.add_subcommand("dump", "A file as it is stored: records, recipes, groups, datasets");
  const auto options = std::make_shared<DumpOptions>();
  addFile(*app, options->file);
  app->add_option("GROUP", options->group, "show this group alone, for example /geometry/0");
  app->add_flag("--recipes", options->recipes, "show the recipes");
  app->add_flag("--records", options->records, "show the metadata records");
  app->add_flag("--tree", options->tree, "show groups and datasets");
  addCount(*app, "--limit", options->limit, 1, "values of each field that are shown, at most");
  app->footer("Examples:\n  morvex dump crash.mvx /geometry/0\n  morvex dump crash.mvx --recipes");
  return {app, [options, &common] { return dumpFile(*options, common); }};
}

}  // namespace morvex::tools
