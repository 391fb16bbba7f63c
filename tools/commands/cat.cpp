// `morvex cat`: the values of arrays as text, CSV or a NumPy file. Arrays that are components of one thing
// are the columns of one table.

#include <unistd.h>

#include <memory>

#include "commands/command.hpp"
#include "common/npy.hpp"
#include "common/output.hpp"
#include "common/scan.hpp"
#include "common/text_table.hpp"
#include "common/values.hpp"

namespace morvex::tools {
namespace {

/// What the user asks for. Without `output` the values are written to standard output.
struct CatOptions {
  std::string file;
  std::vector<std::string> arrays;
  Selection selection;
  std::string output;
  bool asCsv = false;
  bool asNpy = false;
  bool mayReplace = false;
};

/// Takes what is written: standard output or a new file.
class Sink {
 public:
  /// Failure kUsageError if the output file is there and must stay, before anything is decoded.
  explicit Sink(const CatOptions& options) {
    if (!options.output.empty()) file_.emplace(options.output, options.mayReplace);
  }
  void write(std::string_view bytes) {
    if (file_) {
      file_->write(bytes);
    } else {
      put(bytes);
    }
  }
  /// Puts the file in its place; without this call it vanishes with the sink.
  void commit() {
    if (file_) file_->commit();
  }

 private:
  std::optional<NewFile> file_;
};

/// An array as columns of a table: one for each node of an element in connectivity, else one.
struct Column {
  ArrayId id;
  std::string path;
  std::uint64_t rows = 0;
  std::uint64_t width = 1;
  std::vector<std::byte> bytes = {};
};

/// The shape of an array; its bytes are filled in when it was read. Error.
Column columnOf(const File& file, const ArrayId& array) {
  Column column{.id = array, .path = pathOf(file, array)};
  const std::uint64_t count = sizeOf(file, array).count;
  // Of polygons and polyhedra the nodes vary: their lists stay one column.
  const bool hasNodes =
      array.request.kind == MORVEX_CONNECTIVITY || array.request.kind == MORVEX_BORDER_FACES;
  const int nodes = hasNodes ? morvex_nodes_per_element(array.request.element_type) : 1;
  if (nodes > 1 && count % static_cast<std::uint64_t>(nodes) == 0) {
    column.width = static_cast<std::uint64_t>(nodes);
  }
  column.rows = count / column.width;
  return column;
}

/// Columns of equally many rows.
using Table = std::vector<Column>;

/// As NumPy calls it.
std::string_view typeOf(const Column& column) {
  return withValueType(column.id, []<class T>(T) -> std::string_view {
    if (std::floating_point<T>) return "<f4";
    return sizeof(T) == sizeof(std::int32_t) ? "<i4" : "<i2";
  });
}

/// Whether a column is another component of the same thing: all but component and imaginary part agree.
bool belongsTo(const Table& table, const Column& column) {
  const morvex_request& first = table.front().id.request;
  const morvex_request& other = column.id.request;
  const bool sameThing = first.kind == other.kind && first.step == other.step &&
                         first.part == other.part && first.variable == other.variable &&
                         first.element_type == other.element_type;
  return sameThing && table.front().id.kind == column.id.kind && table.front().rows == column.rows;
}

/// Numbers in a row.
std::uint64_t widthOf(const Table& table) {
  std::uint64_t width = 0;
  for (const Column& column : table) width += column.width;
  return width;
}

/// Reads back as the same bits.
std::string valueText(float value) {
  return numberText(value);
}
std::string valueText(std::integral auto value) {
  return std::to_string(value);
}

/// Calls `use` with the text of each value of a row, column by column.
template <class Use>
void forEachCell(const Table& table, std::uint64_t row, const Use& use) {
  for (const Column& column : table) {
    visitValues(column.id, column.bytes, [&](auto values) {
      for (std::uint64_t k = 0; k < column.width; ++k) {
        use(valueText(values[static_cast<std::size_t>(row * column.width + k)]));
      }
    });
  }
}

/// Rows as text, in pieces: the text of a large array takes several times its memory.
void writeRows(const Table& table, char separator, Sink& sink) {
  // 64 KiB: a write costs little against formatting, and Ctrl-C is noticed at once.
  constexpr std::size_t kPiece = 1U << 16U;
  std::string text;
  for (std::uint64_t row = 0; row < table.front().rows; ++row) {
    bool isFirst = true;
    forEachCell(table, row, [&](const std::string& cell) {
      if (!isFirst) text += separator;
      isFirst = false;
      text += cell;
    });
    text += '\n';
    if (text.size() < kPiece) continue;
    if (isInterrupted()) throw Interrupted{};
    sink.write(text);
    text.clear();
  }
  sink.write(text);
}

/// A heading in quotes where it has to be: names of variables may have commas.
std::string csvName(std::string name) {
  if (name.find_first_of(",\"\n\r") == std::string::npos) return name;
  for (std::size_t at = 0; (at = name.find('"', at)) != std::string::npos; at += 2) {
    name.insert(at, 1, '"');
  }
  return '"' + name + '"';
}

/// A heading of paths, with the node's place in brackets where an array has several columns.
void writeCsv(const Table& table, Sink& sink) {
  std::string heading;
  for (const Column& column : table) {
    for (std::uint64_t k = 0; k < column.width; ++k) {
      const std::string place = column.width == 1 ? "" : "[" + std::to_string(k) + "]";
      heading += (heading.empty() ? "" : ",") + csvName(column.path + place);
    }
  }
  sink.write(heading + "\n");
  writeRows(table, ',', sink);
}

/// Rows of all columns one after the other: NumPy's arrays have C order.
void writeNpy(const Table& table, Sink& sink) {
  const std::size_t size = withValueType(table.front().id, []<class T>(T) { return sizeof(T); });
  std::vector<std::uint64_t> shape{table.front().rows, widthOf(table)};
  if (shape.back() == 1) shape.pop_back();  // one column is a one-dimensional array
  sink.write(npyHeader(typeOf(table.front()), shape));
  std::string rows;
  for (std::uint64_t row = 0; row < table.front().rows; ++row) {
    for (const Column& column : table) {
      const std::size_t length = static_cast<std::size_t>(column.width) * size;
      const std::byte* from = column.bytes.data() + static_cast<std::size_t>(row) * length;
      rows.append(reinterpret_cast<const char*>(from), length);
    }
  }
  sink.write(rows);
}

/// The arrays of the choice that the file has, by table.
std::vector<Table> tablesOf(const File& file, ArrayList& list) {
  std::vector<Table> tables;
  for (const Section& section : list.sections()) {
    for (const ArrayId& array : list.arraysOf(section)) {
      // Variables may have no values on some parts, steps or types; all else must be there.
      std::int32_t has = 1;
      if (array.kind == ArrayKind::kVariables) {
        check(morvex_has_array(file.handle(), &array.request, &has));
      }
      if (has == 0) continue;
      Column column = columnOf(file, array);
      if (tables.empty() || !belongsTo(tables.back(), column)) tables.emplace_back();
      tables.back().push_back(std::move(column));
    }
    if (isInterrupted()) throw Interrupted{};
  }
  list.requireNamed();
  if (tables.empty()) throw Failure(kUsageError, "the selection has no values in this file");
  return tables;
}

/// One table of all, which CSV and NumPy's format need. Failure kUsageError.
Table joined(std::vector<Table> tables, bool oneType) {
  Table all;
  for (Table& table : tables) {
    for (Column& column : table) {
      const Column& first = all.empty() ? column : all.front();
      if (column.rows != first.rows) {
        throw Failure(kUsageError, first.path + " has " + std::to_string(first.rows) +
                                       " rows and " + column.path + " " +
                                       std::to_string(column.rows) + "; select one of them");
      }
      if (oneType && typeOf(column) != typeOf(first)) {
        throw Failure(kUsageError, first.path + " and " + column.path + " have different types");
      }
      all.push_back(std::move(column));
    }
  }
  return all;
}

ExitCode catFile(const CatOptions& options, const Common& common) {
  if (options.asCsv && options.asNpy)
    throw Failure(kUsageError, "--csv and --npy exclude each other");
  Selection selection = options.selection;
  selection.arrays.insert(selection.arrays.end(), options.arrays.begin(), options.arrays.end());
  // Nobody wants all values of a file as text: it is a forgotten argument.
  if (selection.arrays.empty() && selection.parts.empty() && selection.variables.empty()) {
    throw Failure(kUsageError,
                  "an array is missing: a path of 'morvex list', a kind, --variable or --part");
  }
  if (options.asNpy && options.output.empty() && ::isatty(STDOUT_FILENO) == 1) {
    throw Failure(kUsageError, "--npy writes no text: name a file with -o");
  }
  const File file = openFile(options.file, common.open);
  const Contents contents = readContents(file);
  const Choice choice(selection, file, contents);
  // Sizes first, so that a choice that can't be one table is refused before an array is read.
  ArrayList list(file, contents, choice);
  std::vector<Table> tables = tablesOf(file, list);
  // CSV and NumPy files are one table; text has one after the other.
  const bool isText = !options.asCsv && !options.asNpy;
  if (!isText) tables = {joined(std::move(tables), options.asNpy)};

  Sink sink(options);
  // The reader delivers in the order of the tables, so that a table is written when its last column is
  // there, and only the columns of one table are in memory beside the batch.
  ExitCode code = kSuccess;
  std::size_t table = 0;
  std::size_t column = 0;
  bool isComplete = true;
  // Fills the next column, and writes the table when it is the last one.
  const auto receive = [&](const ArrayResult& result) {
    Table& filled = tables[table];
    if (result.failure) {
      complain("morvex", options.file + ": " + result.failure->what());
      code = kDataError;
      isComplete = false;
    } else {
      filled[column].bytes.assign(result.bytes.begin(), result.bytes.end());
    }
    if (++column < filled.size()) return;
    if (isComplete && options.asNpy) writeNpy(filled, sink);
    if (isComplete && options.asCsv) writeCsv(filled, sink);
    if (isComplete && isText) {
      std::string heading = table == 0 ? "#" : "\n#";
      for (const Column& named : filled) heading += " " + shownText(named.path);
      if (tables.size() > 1) sink.write(heading + "\n");
      writeRows(filled, ' ', sink);
    }
    filled.clear();  // with its memory: only the table that is being read is kept
    filled.shrink_to_fit();
    ++table;
    column = 0;
    isComplete = true;
  };
  BatchReader reader(file, common.isConcurrent(),
                     [](double, std::uint64_t) { return !isInterrupted(); });
  // Listed before the first is read: the tables are emptied while they are written.
  std::vector<ArrayId> arrays;
  for (const Table& listed : tables) {
    for (const Column& each : listed) arrays.push_back(each.id);
  }
  for (const ArrayId& array : arrays) reader.add(array, receive);
  reader.finish();
  // A text without the tables that failed is useful; an empty CSV or NumPy file is not.
  if (isText || code == kSuccess) sink.commit();
  return code;
}

}  // namespace

Command addCat(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand("cat", "The values of arrays, as text, CSV or for NumPy");
  const auto options = std::make_shared<CatOptions>();
  addFile(*app, options->file);
  app->add_option("ARRAY", options->arrays,
                  "paths as shown by list, patterns, or kinds such as coordinates");
  addSelection(*app, options->selection);
  app->add_flag("--csv", options->asCsv, "columns with commas and a heading");
  app->add_flag("--npy", options->asNpy, "NumPy's file format, a row for each node or element");
  app->add_option("-o,--output", options->output, "file to write instead of standard output")
      ->type_name("FILE");
  app->add_flag("--force", options->mayReplace, "replace a file that is there");
  app->footer(
      "Examples:\n  morvex cat crash.mvx coordinates --part tube --step -1\n  morvex cat crash.mvx "
      "/variable/stress/2/0/10_0_data --npy -o stress.npy");
  return {app, [options, &common] { return catFile(*options, common); }};
}

}  // namespace morvex::tools
