// `morvex list`: one line for each array of a file.

#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.hpp"
#include "commands/stored_file.hpp"
#include "common/output.hpp"
#include "common/scan.hpp"
#include "common/text_table.hpp"
#include "common/values.hpp"

namespace morvex::tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a key changes its meaning or goes.
constexpr int kSchema = 1;

/// As typed.
struct ListOptions {
  std::vector<std::string> files;
  Selection selection;
  bool withRanges = false;
  bool asJson = false;
};

/// What a line shows of an array.
struct Row {
  std::string path;
  ArrayKind kind;
  bool isFloat;
  ArraySize size = {};
  std::optional<std::uint64_t> stored = {};  ///< nothing for constants, which are in the metadata
  std::optional<ValueRange> range = {};      ///< nothing unless asked for and readable
};

TextTable tableOf(const ListOptions& options) {
  if (options.withRanges) {
    return TextTable({"kind", ">count", ">stored", ">ratio", ">min", ">max", "path"});
  }
  return TextTable({"kind", ">count", ">stored", ">ratio", "path"});
}

/// Writes rows while they come: a file may have millions of arrays.
class Listing {
 public:
  /// Both are borrowed. JSON begins at once, so finish() has to be called.
  explicit Listing(const std::string& path, const ListOptions& options)
      : options_(options), table_(tableOf(options)) {
    if (!options_.asJson) return;
    // File names may have any bytes; what is no UTF-8 becomes U+FFFD instead of an exception.
    const std::string file = Json(path).dump(-1, ' ', false, Json::error_handler_t::replace);
    put("{\"schema\": " + std::to_string(kSchema) + ", \"file\": " + file + ", \"arrays\": [");
  }

  /// Writes at once or with the next thousand rows.
  void add(const Row& row) {
    if (options_.asJson) {  // written piece by piece as well
      put((count_++ == 0 ? "\n " : ",\n ") + json(row));
      return;
    }
    // Enough rows for columns that stay in line, and few enough to show the first ones at once.
    constexpr std::uint64_t kRowsAtOnce = 1000;
    std::vector<std::string> cells{kindName(row.kind), std::to_string(row.size.count),
                                   row.stored ? std::to_string(*row.stored) : "-",
                                   ratioText(row.size.bytes(), row.stored.value_or(0))};
    if (options_.withRanges) {
      const bool hasNumbers = row.range && !row.range->isEmpty();
      cells.push_back(hasNumbers ? text(row, row.range->low) : "-");
      cells.push_back(hasNumbers ? text(row, row.range->high) : "-");
    }
    cells.push_back(shownText(row.path));
    table_.row(std::move(cells));
    if (++count_ % kRowsAtOnce == 0) put(table_.take(width_));
  }

  /// Writes the rows that wait, or the end of the JSON object.
  void finish() {
    if (options_.asJson) return put("\n]}\n");
    if (!table_.empty()) put(table_.take(width_));
  }

 private:
  /// With the digits of the array's type: a float has fewer than the double of its range.
  static std::string text(const Row& row, double value) {
    return row.isFloat ? numberText(static_cast<float>(value)) : numberText(value);
  }

  static std::string json(const Row& row) {
    Json object{{"path", row.path},
                {"kind", kindName(row.kind)},
                {"count", row.size.count},
                {"decoded", row.size.bytes()},
                {"stored", row.stored ? Json(*row.stored) : Json(nullptr)}};
    if (row.range) {
      const bool hasNumbers = !row.range->isEmpty();
      object["min"] = hasNumbers ? Json(row.range->low) : Json(nullptr);
      object["max"] = hasNumbers ? Json(row.range->high) : Json(nullptr);
      object["invalid"] = row.range->invalid;
    }
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
  }

  const ListOptions& options_;
  TextTable table_;
  std::size_t width_ = terminalWidth();
  std::uint64_t count_ = 0;
};

/// Sizes are from the tables of the container; arrays are decoded for ranges alone.
ExitCode listFile(const std::string& path, const ListOptions& options, const Common& common) {
  const File file = openFile(path, common.open);
  const Contents contents = readContents(file);
  const Choice choice(options.selection, file, contents);
  // Opened a second time: the library shows no stored sizes.
  StoredFile stored(path, common.open);
  ArrayList list(file, contents, choice);
  // A heading only where there are several files, as head and tail have it.
  if (options.files.size() > 1 && !options.asJson && !common.isQuiet) put(shownText(path) + "\n");
  Listing listing(path, options);
  ExitCode code = kSuccess;
  const auto fail = [&](const std::string& what) {
    complain("morvex", path + ": " + what);
    code = kDataError;
  };
  for (const std::string& problem : contents.problems) fail(problem);

  // With the result of a read, if ranges are wanted.
  const auto addRow = [&](const ArrayId& array, const ArrayResult* result) {
    Row row{.path = placeOf(file, array),
            .kind = array.kind,
            .isFloat = withValueType(array, []<class T>(T) { return std::floating_point<T>; })};
    try {
      row.size = sizeOf(file, array);
      if (array.kind != ArrayKind::kConstants) {
        row.stored = stored.bytesOf(row.path);
        // A variable has values where its values are; all else should be there.
        if (!row.stored && array.kind == ArrayKind::kVariables) return;
        if (!row.stored) return fail(row.path + ": is not in the file");
      }
    } catch (...) {
      return fail(row.path + ": " + innerFailureText());
    }
    // An array that can't be decoded keeps its row: its sizes are known.
    if (result && result->failure) fail(result->failure->what());
    if (result && !result->failure) {
      row.range.emplace();
      visitValues(array, result->bytes, [&](auto values) { row.range->add(values); });
    }
    listing.add(row);
  };
  // The arrays of such a section are unknown: one line stands for them.
  const auto failSection = [&](const Section& section, const Error& failure) {
    fail(list.nameOf(section) + ": " + failure.what());
  };
  if (options.withRanges) {
    Scan(file, list, common)
        .run(
            list.sections(), [&](const ArrayResult& result) { addRow(result.id, &result); },
            failSection);
  } else {
    for (const Section& section : list.sections()) {
      try {
        for (const ArrayId& array : list.arraysOf(section)) addRow(array, nullptr);
      } catch (const Error& failure) {
        failSection(section, failure);
      }
      if (isInterrupted()) throw Interrupted{};
    }
  }
  listing.finish();
  list.requireNamed();
  return code;
}

}  // namespace

Command addList(CLI::App& program, const Common& common) {
  CLI::App* app =
      program.add_subcommand("list", "One line for each array: kind, count, stored bytes, path");
  const auto options = std::make_shared<ListOptions>();
  addFiles(*app, options->files);
  addSelection(*app, options->selection);
  addArrays(*app, options->selection);
  app->add_flag("-l,--long", options->withRanges,
                "also the smallest and largest value, for which all arrays are decoded");
  addJson(*app, options->asJson);
  app->footer(
      "Examples:\n  morvex list -l crash.mvx --variable stress --step -1\n  morvex list crash.mvx "
      "--array '/geometry/*'");
  return {app, [options, &common] {
            return forEachFile(options->files, [&](const std::string& path) {
              return listFile(path, *options, common);
            });
          }};
}

}  // namespace morvex::tools
