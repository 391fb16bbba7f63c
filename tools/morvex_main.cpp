// The program `morvex`: tells what is in a result file and checks that all of it can be read. It
// asks through the guard, as any host may.

#include <CLI/CLI.hpp>
#include <array>
#include <iostream>
#include <map>

#include "answers.hpp"
#include "exit_codes.hpp"
#include "failure_text.hpp"
#include "info.hpp"
#include "verify.hpp"

namespace morvex::tools {
namespace {

struct Arguments {
  std::string file;
  std::string logFile;
  bool asJson = false;
  int step = 0;
  int threads = 0;
  ReadOrder order = ReadOrder::forward;
  std::uint64_t seed = 1;
};

/// The parser has no long options behind a single dash: -lf goes to it by its other name.
std::vector<std::string> parserArguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  for (int k = argc - 1; k > 0; --k) {  // it takes them from the back
    std::string argument = argv[k];
    if (argument == "-lf") argument = "--log-file";
    if (argument.starts_with("-lf=")) argument.replace(0, 3, "--log-file");
    arguments.push_back(std::move(argument));
  }
  return arguments;
}

int runInfo(const Arguments& arguments, OutputStreams& streams) {
  const Info info = readInfo(arguments.file, arguments.step);
  put(streams.data(), arguments.asJson ? infoJson(info) : infoText(info));
  for (const std::string& problem : info.contents.problems) {
    put(streams.messages(), "morvex: " + problem + "\n");
  }
  return info.contents.problems.empty() ? kAllWell : kDataFailed;
}

int runVerify(const Arguments& arguments, OutputStreams& streams) {
  if (arguments.threads > 0) require(mxg_set_number_of_omp_threads(arguments.threads));
  Contents contents = readContents();
  const Tally tally = verify(contents, arguments.order, arguments.seed, streams);
  return tally.failures == 0 ? kAllWell : kDataFailed;
}

int runOpened(const Arguments& arguments, bool isInfo, OutputStreams& streams) {
  std::optional<OpenFile> file;
  try {
    file.emplace(arguments.file);
  } catch (const AskFailure& failure) {
    put(streams.messages(), std::string("morvex: ") + failure.what() + "\n");
    return kCannotOpen;
  }
  return isInfo ? runInfo(arguments, streams) : runVerify(arguments, streams);
}

int run(const Arguments& arguments, bool isInfo) {
  try {
    OutputStreams streams(arguments.logFile);
    int code = kOutputFailed;
    try {
      code = runOpened(arguments, isInfo, streams);
    } catch (...) {
      put(streams.messages(), "morvex: " + failureText() + "\n");
    }
    if (streams.finish()) return code;
    put(streams.messages(), "morvex: not all output could be written\n");
  } catch (...) {
    std::cerr << "morvex: " << failureText() << "\n";
  }
  return kOutputFailed;
}

int main(int argc, char** argv) {
  Arguments arguments;
  CLI::App app("Tells what is in a compressed finite-element result file, and checks it.",
               "morvex");
  app.set_version_flag("--version", "morvex " + textOf(&mxg_get_reader_release));
  app.require_subcommand(1);
  app.add_option("--log-file", arguments.logFile,
                 "also -lf LOGFILENAME: the library's messages go to this file instead of\n"
                 "standard error")
      ->type_name("LOGFILENAME");
  app.footer(
      "Data goes to standard output, messages to standard error or, with -lf LOGFILENAME before "
      "or\n"
      "behind the command, to a file.\n"
      "Exit codes: 0 all is well; 1 not all of the file can be read; 2 usage;\n"
      "3 the file can't be opened; 4 output or log can't be written, memory ran out.");

  CLI::App* info =
      app.add_subcommand("info", "Time sets, parts and variables, from metadata alone");
  info->add_option("FILE", arguments.file, "result file")->required();
  info->add_flag("--json", arguments.asJson, "one JSON object instead of tables");
  info->add_option("--step", arguments.step, "step of the model for parts and box, from 0")
      ->check(CLI::NonNegativeNumber);

  CLI::App* verify = app.add_subcommand("verify", "Decodes everything; prints counts and digests");
  verify->add_option("FILE", arguments.file, "result file")->required();
  verify->add_option("--threads", arguments.threads, "threads to decode with")
      ->check(CLI::Range(1, 4096));
  const std::map<std::string, ReadOrder> orders{{"forward", ReadOrder::forward},
                                                {"backward", ReadOrder::backward},
                                                {"random", ReadOrder::random}};
  verify->add_option("--order", arguments.order, "forward, backward or random")
      ->transform(CLI::CheckedTransformer(orders).description(""));
  verify->add_option("--seed", arguments.seed, "of the random order");
  for (CLI::App* command : {info, verify}) command->fallthrough();

  try {
    app.parse(parserArguments(argc, argv));
  } catch (const CLI::ParseError& failure) {
    return app.exit(failure, std::cout, std::cerr) == 0 ? kAllWell : kUsageError;
  }
  return run(arguments, info->parsed());
}

}  // namespace
}  // namespace morvex::tools

int main(int argc, char** argv) {
  return morvex::tools::main(argc, argv);
}
