// `morvex stat`: where the bytes of a file are. The bytes of arrays and of all else sum up to its size.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <unordered_set>

#include "commands/command.hpp"
#include "commands/container_walk.hpp"
#include "commands/stored_file.hpp"
#include "common/batch_reader.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"
#include "simulation/dataset_path.hpp"

namespace morvex::tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a key changes its meaning or goes.
constexpr int kSchema = 1;

/// Arrays with their bytes, as stored in the file and as a host receives them.
struct Amount {
  std::uint64_t arrays = 0;
  std::uint64_t stored = 0;
  std::uint64_t decoded = 0;

  Amount& operator+=(const Amount& more) {
    arrays += more.arrays;
    stored += more.stored;
    decoded += more.decoded;
    return *this;
  }
};

/// Amounts by name, in the order in which the names came.
class Amounts {
 public:
  Amount& operator[](const std::string& name) {
    const auto [place, isNew] = places_.try_emplace(name, rows_.size());
    if (isNew) rows_.emplace_back(name, Amount{});
    return rows_[place->second].second;
  }
  [[nodiscard]] const auto& rows() const noexcept { return rows_; }

 private:
  std::map<std::string, std::size_t> places_;
  std::vector<std::pair<std::string, Amount>> rows_;
};

/// Where the bytes of a file are. Each array counts once in each of the three tables.
struct Statistics {
  std::string path;
  std::uint64_t fileSize = 0;
  Amounts variables;  ///< and the kinds of the geometry
  Amounts parts;
  Amounts forms;
  Amount arrays;
  // What is no array of the choice, in bytes of the file.
  std::uint64_t others = 0;   ///< arrays that were not chosen, tables that arrays share
  std::uint64_t records = 0;  ///< metadata, recipes, time sets
  std::uint64_t tables = 0;   ///< names and places of datasets, small datasets, header, trailer
  std::uint64_t unused = 0;   ///< payloads that no dataset refers to
  std::vector<std::string> problems;
};

/// Adds up the arrays of a choice from the tables of the container; nothing is decoded.
class Survey {
 public:
  Survey(const std::string& path, const File& file, const Contents& contents, const Choice& choice,
         StoredFile& stored)
      : file_(file), contents_(contents), list_(file, contents, choice), stored_(stored) {
    statistics_.path = path;
    // The size on disk, which the sums of the first table must equal.
    statistics_.fileSize = std::filesystem::file_size(path);
    statistics_.problems = contents.problems;
  }

  /// To be called once. Throws Interrupted; Failure kUsageError if the choice names what is not there.
  Statistics run() {
    for (const Section& section : list_.sections()) {
      try {
        for (const ArrayId& array : list_.arraysOf(section)) add(array);
      } catch (const Error& failure) {
        fail(list_.nameOf(section) + ": " + failure.what());
      }
      if (isInterrupted()) throw Interrupted{};
    }
    list_.requireNamed();
    addRest();
    return std::move(statistics_);
  }

 private:
  /// The sums leave out what fails.
  void fail(const std::string& what) { statistics_.problems.push_back(what); }

  /// Adds one array to the sums of its variable, part and form.
  void add(const ArrayId& array) {
    if (array.kind == ArrayKind::kConstants) return;  // part of the metadata
    const std::string path = pathOf(file_, array);
    // Variables of the same name share their datasets, whose bytes count once.
    if (!seen_.insert(path).second) return;
    Amount amount{.arrays = 1};
    std::string form = "unknown";
    try {
      const auto bytes = stored_.bytesOf(path);
      if (!bytes) return;  // the variable has no values there
      amount.stored = *bytes;
      amount.decoded = sizeOf(file_, array).bytes();
      if (const auto known = stored_.formOf(path)) form = known->name();
    } catch (...) {
      fail(path + ": " + innerFailureText());
    }
    statistics_.arrays += amount;
    statistics_.variables[nameOf(array)] += amount;
    statistics_.parts[partOf(array)] += amount;
    statistics_.forms[form] += amount;
  }

  /// The variable's name, or the kind of geometry.
  [[nodiscard]] std::string nameOf(const ArrayId& array) const {
    if (array.kind != ArrayKind::kVariables) return kindName(array.kind);
    return contents_.variables[static_cast<std::size_t>(array.request.variable)].name;
  }

  /// Number and name of the part. Names are those of the first step, as parts keep theirs.
  [[nodiscard]] std::string partOf(const ArrayId& array) {
    const bool isVariable = array.kind == ArrayKind::kVariables;
    const auto variable = static_cast<std::size_t>(array.request.variable);
    if (array.kind == ArrayKind::kParticles ||
        (isVariable && contents_.variables[variable].on_particles != 0)) {
      return "particles";
    }
    const auto& parts = list_.parts(isVariable ? 0 : array.request.step);
    const auto part = static_cast<std::size_t>(array.request.part);
    const std::string number = std::to_string(part);
    return part < parts.size() ? number + " " + parts[part].name : number;
  }

  /// All that is not an array of the choice.
  void addRest() {
    std::uint64_t ofArrays = 0;
    // Of the whole file: the choice may leave out arrays.
    ContainerWalk(
        stored_.file(), [](const auto&...) {},
        [&](const std::string& group, const std::string& name) {
          const auto info = stored_.file().getDatasetInfo(group, name);
          if (!info) return;
          const bool isArray = group.starts_with("/geometry/") || group.starts_with("/variable/");
          (isArray ? ofArrays : statistics_.records) += info->storedSize;
        },
        [&](const std::string& what) { fail(what); })
        .run("/");
    namespace Sdf = Kelbor::MathModule;
    const std::uint64_t offset = stored_.tableOffset();
    const std::uint64_t datasets = ofArrays + statistics_.records;
    statistics_.others = ofArrays - std::min(ofArrays, statistics_.arrays.stored);
    // The tables reach to the end of the file; the trailer is theirs, and the header is counted with them.
    statistics_.tables = statistics_.fileSize - offset + Sdf::kHeaderSize;
    const std::uint64_t payloads = offset - std::min<std::uint64_t>(offset, Sdf::kHeaderSize);
    // Damaged tables may place datasets anywhere.
    if (datasets > payloads) fail("datasets claim more bytes than the file has");
    statistics_.unused = payloads - std::min(payloads, datasets);
  }

  const File& file_;
  const Contents& contents_;
  ArrayList list_;
  StoredFile& stored_;
  Statistics statistics_;
  /// Paths of arrays that were counted.
  std::unordered_set<std::string> seen_;
};

/// A part of a whole in per cent; 0 of an empty file.
std::string shareText(std::uint64_t bytes, std::uint64_t all) {
  std::array<char, 32> text{};
  const double share = all == 0 ? 0.0 : static_cast<double>(bytes) / static_cast<double>(all);
  std::snprintf(text.data(), text.size(), "%.1f %%", 100.0 * share);
  return text.data();
}

/// The statistics as text. Shares are of the file's size in every table.
class Tables {
 public:
  Tables(const Statistics& statistics, std::size_t width)
      : statistics_(statistics), width_(width) {}

  [[nodiscard]] std::string text() const {
    const Statistics& all = statistics_;
    std::string text = "File   " + shownText(all.path) + "\n";
    text += "Size   " + std::to_string(all.fileSize) + " bytes\n";
    // The lines after the arrays make this table sum up to the size of the file.
    TextTable variables = table("variable", all.variables);
    // Bytes that are no arrays have neither a decoded size nor a ratio.
    const auto rest = [&](const char* name, std::uint64_t bytes) {
      if (bytes != 0) {
        variables.row({name, "-", std::to_string(bytes), "-", "-", shareText(bytes, all.fileSize)});
      }
    };
    rest("(other arrays and tables of arrays)", all.others);
    rest("(metadata records)", all.records);
    rest("(tables of the container)", all.tables);
    rest("(unused)", all.unused);
    Amount file = all.arrays;
    file.stored = all.arrays.stored + all.others + all.records + all.tables + all.unused;
    row(variables, "file", file);
    return text + "\n" + variables.text(width_) + "\n" + sums("part", all.parts) + "\n" +
           sums("form", all.forms);
  }

 private:
  [[nodiscard]] TextTable table(const char* heading, const Amounts& amounts) const {
    TextTable table({heading, ">arrays", ">stored", ">decoded", ">ratio", ">share"});
    for (const auto& [name, amount] : amounts.rows()) row(table, shownText(name), amount);
    return table;
  }
  /// The table as text, with the sum of all arrays in its last line.
  [[nodiscard]] std::string sums(const char* heading, const Amounts& amounts) const {
    TextTable table = this->table(heading, amounts);
    row(table, "arrays", statistics_.arrays);
    return table.text(width_);
  }
  void row(TextTable& table, const std::string& name, const Amount& amount) const {
    table.row({name, std::to_string(amount.arrays), std::to_string(amount.stored),
               std::to_string(amount.decoded), ratioText(amount.decoded, amount.stored),
               shareText(amount.stored, statistics_.fileSize)});
  }

  const Statistics& statistics_;
  std::size_t width_;
};

Json amountJson(const Amount& amount) {
  return {{"arrays", amount.arrays}, {"stored", amount.stored}, {"decoded", amount.decoded}};
}

std::string statisticsJson(const Statistics& statistics) {
  const auto listOf = [](const Amounts& amounts) {
    Json list = Json::array();
    for (const auto& [name, amount] : amounts.rows()) {
      Json& object = list.emplace_back(Json{{"name", name}});
      object.update(amountJson(amount));
    }
    return list;
  };
  const Json object{{"schema", kSchema},
                    {"file", statistics.path},
                    {"size", statistics.fileSize},
                    {"arrays", amountJson(statistics.arrays)},
                    {"variables", listOf(statistics.variables)},
                    {"parts", listOf(statistics.parts)},
                    {"forms", listOf(statistics.forms)},
                    {"otherArrays", statistics.others},
                    {"records", statistics.records},
                    {"tables", statistics.tables},
                    {"unused", statistics.unused},
                    {"problems", statistics.problems}};
  return object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

struct StatOptions {
  std::vector<std::string> files;
  Selection selection;
  bool asJson = false;
};

ExitCode statFile(const std::string& path, const StatOptions& options, const Common& common) {
  const File file = openFile(path, common.open);
  const Contents contents = readContents(file);
  const Choice choice(options.selection, file, contents);
  StoredFile stored(path, common.open);
  const Statistics statistics = Survey(path, file, contents, choice, stored).run();
  put(options.asJson ? statisticsJson(statistics) : Tables(statistics, terminalWidth()).text());
  for (const std::string& problem : statistics.problems) {
    complain("morvex", path + ": " + problem);
  }
  return statistics.problems.empty() ? kSuccess : kDataError;
}

}  // namespace

Command addStat(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand(
      "stat", "Where the bytes are: by variable, part and stored form, with ratios");
  const auto options = std::make_shared<StatOptions>();
  addFiles(*app, options->files);
  addSelection(*app, options->selection);
  addArrays(*app, options->selection);
  addJson(*app, options->asJson);
  app->footer(
      "Examples:\n  morvex stat crash.mvx\n  morvex stat crash.mvx --variable 'stress*' --step -1");
  return {app, [options, &common] {
            return forEachFile(options->files, [&](const std::string& path) {
              return statFile(path, *options, common);
            });
          }};
}

}  // namespace morvex::tools
