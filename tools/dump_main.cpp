// The program `morvex-dump`: shows a result file as it is stored. For people who work on the
// format; it is linked to the inner layers, not to the library.

#include <CLI/CLI.hpp>
#include <iostream>

#include "core/data_manager.hpp"
#include "dump.hpp"
#include "exit_codes.hpp"
#include "output_streams.hpp"

namespace morvex::tools {
namespace {

struct Arguments {
  std::string file;
  bool recipes = false;
  bool records = false;
  bool tree = false;
  std::size_t limit = 12;
};

int dumpFile(const Arguments& arguments, OutputStreams& streams) {
  Kelbor::DataManager manager;
  Kelbor::MathModule::SdfFile file(&manager, arguments.file, /*writable=*/false, "",
                                   /*compress=*/false);
  try {
    file.ensureOpen();
  } catch (...) {
    put(streams.messages(),
        "morvex-dump: Can't open " + arguments.file + ": " + innerFailureText() + "\n");
    return kCannotOpen;
  }
  const bool all = !arguments.recipes && !arguments.records && !arguments.tree;
  Dump dump(file, streams.data());
  if (all || arguments.records) dump.records(arguments.limit);
  if (all || arguments.recipes) dump.recipes();
  if (all || arguments.tree) dump.tree();
  return dump.failures() == 0 ? kAllWell : kDataFailed;
}

int run(const Arguments& arguments) {
  try {
    OutputStreams streams("");
    int code = kOutputFailed;
    try {
      code = dumpFile(arguments, streams);
    } catch (...) {
      put(streams.messages(), "morvex-dump: " + innerFailureText() + "\n");
    }
    if (streams.finish()) return code;
    put(streams.messages(), "morvex-dump: not all output could be written\n");
  } catch (...) {
    std::cerr << "morvex-dump: " << innerFailureText() << "\n";
  }
  return kOutputFailed;
}

int main(int argc, char** argv) {
  Arguments arguments;
  CLI::App app("Shows a result file as it is stored: records, recipes, groups and datasets.",
               "morvex-dump");
  app.add_option("FILE", arguments.file, "result file")->required();
  app.add_flag("--recipes", arguments.recipes, "the recipes only");
  app.add_flag("--records", arguments.records, "the metadata records only");
  app.add_flag("--tree", arguments.tree, "groups and datasets only");
  app.add_option("--limit", arguments.limit, "values of each field that are shown, at most");
  app.footer(
      "Exit codes: 0 all is well; 1 not all of the file can be read; 2 usage;\n"
      "3 the file can't be opened; 4 output can't be written, memory ran out.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& failure) {
    return app.exit(failure, std::cout, std::cerr) == 0 ? kAllWell : kUsageError;
  }
  return run(arguments);
}

}  // namespace
}  // namespace morvex::tools

int main(int argc, char** argv) {
  return morvex::tools::main(argc, argv);
}
