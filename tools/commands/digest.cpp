// `morvex digest`: a number for the values of a file. Files with equal values have the same.

#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.hpp"
#include "common/hash.hpp"
#include "common/output.hpp"
#include "common/scan.hpp"
#include "common/text_table.hpp"
#include "common/values.hpp"

namespace morvex::tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a key changes its meaning or goes, and when digests change for the same values.
constexpr int kSchema = 1;

struct DigestOptions {
  std::vector<std::string> files;
  Selection selection;
  bool byArray = false;
  bool asJson = false;
};

/// Decodes the choice in bounded memory and sums up digests of its arrays.
ExitCode digestFile(const std::string& path, const DigestOptions& options, const Common& common) {
  const File file = openFile(path, common.open);
  const Contents contents = readContents(file);
  const Choice choice(options.selection, file, contents);
  ArrayList list(file, contents, choice);
  std::uint64_t sum = 0;
  std::uint64_t arrays = 0;
  std::uint64_t bytes = 0;
  // Kept until the end in JSON, where the digest of all comes first; text is written at once.
  Json byArray = Json::array();
  std::vector<std::string> problems = contents.problems;
  Scan(file, list, common)
      .run(
          list.sections(),
          [&](const ArrayResult& result) {
            if (isAbsent(file, result)) return;
            if (result.failure) {
              const bool hasPlace = !result.failure->path().empty();
              problems.push_back((hasPlace ? "" : placeOf(file, result.id) + ": ") +
                                 result.failure->what());
              return;
            }
            const std::string place = pathOf(file, result.id);
            const std::uint64_t digest = digestOf(result.id, result.bytes, place);
            sum += digest;  // in any order: paths are part of the digests
            ++arrays;
            bytes += result.bytes.size();
            if (!options.byArray) return;
            if (options.asJson) {
              byArray.push_back({{"path", place}, {"digest", digestText(digest)}});
            } else {
              put(digestText(digest) + "  " + shownText(place) + "\n");
            }
          },
          [&](const Section& section, const Error& failure) {
            problems.push_back(list.nameOf(section) + ": " + failure.what());
          });
  list.requireNamed();
  if (options.asJson) {
    // The digest of what can be read would look like that of other values.
    Json object{{"schema", kSchema},
                {"file", path},
                {"digest", problems.empty() ? Json(digestText(sum)) : Json(nullptr)},
                {"arrays", arrays},
                {"bytes", bytes},
                {"problems", problems}};
    if (options.byArray) object["byArray"] = std::move(byArray);
    put(object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
  } else if (problems.empty() && !options.byArray) {
    put(digestText(sum) + "  " + shownText(path) + "\n");
  }
  for (const std::string& problem : problems) complain("morvex", path + ": " + problem);
  return problems.empty() ? kSuccess : kDataError;
}

}  // namespace

Command addDigest(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand(
      "digest", "A 64-bit digest of the values, equal for files with equal values");
  const auto options = std::make_shared<DigestOptions>();
  addFiles(*app, options->files);
  addSelection(*app, options->selection);
  addArrays(*app, options->selection);
  app->add_flag("--by-array", options->byArray, "a digest of each array instead of their sum");
  addJson(*app, options->asJson);
  app->footer(
      "Examples:\n  morvex digest before.mvx after.mvx\n"
      "  morvex digest --by-array crash.mvx --step -1");
  return {app, [options, &common] {
            return forEachFile(options->files, [&](const std::string& path) {
              return digestFile(path, *options, common);
            });
          }};
}

}  // namespace morvex::tools
