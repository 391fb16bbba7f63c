// `morvex export`: writes what is in a result file in the formats of other programs.

#include <memory>

#include "commands/command.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"
#include "export/ensight.hpp"
#include "export/npz.hpp"
#include "export/vtu.hpp"

namespace morvex::tools {
namespace {

struct ExportOptions {
  std::string file;
  std::string folder;
  std::string format;
  Selection selection;
  bool mayReplace = false;
};

/// The file's name without folders and ending, of letters that are plain in every format.
std::string baseName(const std::string& path) {
  std::string name = path.substr(path.rfind('/') + 1);
  name = name.substr(0, name.rfind('.'));
  for (char& letter : name) {
    // Case files separate words by blanks, and XML reserves some characters.
    const bool isPlain = std::isalnum(static_cast<unsigned char>(letter)) != 0;
    if (!isPlain && letter != '_' && letter != '-') letter = '_';
  }
  return name.empty() ? "export" : name;
}

/// Arrays may be taken by another thread, which must have ended when a failure destroys the export.
template <class Export>
void run(Export&& taker, Feed& feed) {
  try {
    taker.run();
  } catch (...) {
    feed.stop();
    throw;
  }
}

/// What can't be read is left out and reported; the files that are written are complete.
ExitCode exportFile(const ExportOptions& options, const Common& common) {
  const File file = openFile(options.file, common.open);
  const Contents contents = readContents(file);
  const Choice choice(options.selection, file, contents);
  // Checked before any array is read.
  NewFolder folder(options.folder, options.mayReplace);
  Feed feed(file, common);
  for (const std::string& problem : contents.problems) feed.lose("metadata", problem);
  Job job(file, contents, choice, folder, feed, baseName(options.file));
  if (options.format == "ensight") run(EnSightExport(job), feed);
  if (options.format == "npz") run(NpzExport(job), feed);
  if (options.format == "vtu") run(VtuExport(job, common.open.threads), feed);
  folder.commit();
  for (const auto& [place, reason] : feed.losses()) {
    complain("morvex", "not exported: " + shownText(place) + ": " + shownText(reason));
  }
  return feed.losses().empty() ? kSuccess : kDataError;
}

}  // namespace

Command addExport(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand("export", "Writes EnSight, VTK or numpy files");
  const auto options = std::make_shared<ExportOptions>();
  addFile(*app, options->file);
  app->add_option("DIR", options->folder, "folder to write to")->required();
  addKeyword(*app, "--format", options->format, {"ensight", "vtu", "npz"},
             "EnSight Gold, VTK's XML files, or an archive of numpy's arrays");
  app->get_option("--format")->required();
  addSelection(*app, options->selection);
  app->add_flag("--force", options->mayReplace, "replace files of the same names");
  app->footer(
      "Examples:\n  morvex export crash.mvx ensight --format ensight\n"
      "  morvex export crash.mvx last --format vtu --part tube --step -1");
  return {app, [options, &common] { return exportFile(*options, common); }};
}

}  // namespace morvex::tools
