// `morvex sample`: writes a sample as a result file and, on request, a description of what a reader must
// find in it.

#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.hpp"
#include "common/output.hpp"
#include "common/quiet_log.hpp"
#include "writer/crash_box.hpp"
#include "writer/zoo.hpp"

namespace morvex::tools {
namespace {

using Writer::CrashBox;
using Writer::Tolerance;
using Writer::ValueKey;
using Writer::Zoo;

/// Values of each array in the description: a few are enough to detect a wrong array.
nlohmann::json probesOf(const std::vector<float>& values) {
  constexpr std::size_t kProbes = 5;
  auto probes = nlohmann::json::object();
  for (std::size_t i = 0; i < kProbes && !values.empty(); ++i) {
    // Spread evenly, with the first and the last value.
    const std::size_t at = (values.size() - 1) * i / (kProbes - 1);
    probes[std::to_string(at)] = values[at];
  }
  return probes;
}

/// By how much a read value may differ from the written one.
nlohmann::json jsonOf(const Tolerance& tolerance) {
  return {{"absolute", tolerance.absolute}, {"relative", tolerance.relative}};
}

/// What a reader of the sample must find, with a few values of each array. Tests in other languages
/// compare with it.
nlohmann::json describe(const CrashBox& model) {
  nlohmann::json truth{{"coordinateTolerance", jsonOf(CrashBox::coordinateTolerance())}};
  for (int step = 0; step < model.steps(); ++step) {
    truth["times"].push_back(model.timeOf(step));
    truth["crushForce"].push_back(model.crushForce(step));
  }
  for (int part = 0; part < CrashBox::kPartCount; ++part) {
    nlohmann::json entry{{"nodes", model.nodeCount(part)}};
    for (const auto& [type, nodes] : model.elements(part)) {
      entry["elements"][std::to_string(type)] = model.elementCount(part, type);
    }
    for (int step = 0; step < model.steps(); ++step) {
      auto& axes = entry["coordinates"].emplace_back(nlohmann::json::array());
      for (const auto& axis : model.coordinates(step, part)) axes.push_back(probesOf(axis));
    }
    truth["parts"].push_back(std::move(entry));
  }
  for (int v = 0; v < CrashBox::kVariableCount; ++v) {
    const auto variable = static_cast<CrashBox::Variable>(v);
    nlohmann::json entry{{"name", CrashBox::nameOf(variable)},
                         {"tolerance", jsonOf(model.toleranceOf(variable))},
                         {"arrays", nlohmann::json::array()}};
    for (const ValueKey& key : model.keys(variable)) {
      entry["arrays"].push_back({{"step", key.step},
                                 {"part", key.part},
                                 {"elementType", key.elementType},
                                 {"component", key.component},
                                 {"imaginary", key.imaginary},
                                 {"values", probesOf(model.values(variable, key))}});
    }
    truth["variables"].push_back(std::move(entry));
  }
  return truth;
}

/// As typed. `chunks`: pieces of each dataset, which threads decode in parallel.
struct SampleOptions {
  std::string output;
  std::string truth;
  std::string kind = "crash";
  int nodes = 10'000;
  int steps = 20;
  int chunks = 4;
  bool mayReplace = false;
};

/// Both files appear once the result file has been opened for a check.
ExitCode writeSample(const SampleOptions& options) {
  const QuietLog quiet;
  // Only the tube has numbers that are known in advance.
  const bool isZoo = options.kind == "zoo";
  if (isZoo && !options.truth.empty()) {
    throw Failure(kUsageError, "--truth describes a sample of the kind crash alone");
  }
  NewFile sample(options.output, options.mayReplace);
  std::unique_ptr<NewFile> truth;
  if (!options.truth.empty()) truth = std::make_unique<NewFile>(options.truth, options.mayReplace);
  const auto nodes = static_cast<std::uint32_t>(options.nodes);
  const auto chunks = static_cast<std::uint64_t>(options.chunks);
  const CrashBox model({.nodes = nodes, .steps = options.steps, .tableChunks = chunks});
  const Zoo zoo({.nodes = nodes, .steps = options.steps, .tableChunks = chunks});
  try {
    (isZoo ? zoo.file() : model.file()).write(sample.temporaryPath());
    // The container's last bytes are written when it ends, which reports no failure.
    (void)openFile(sample.temporaryPath(), {});
  } catch (const Failure&) {
    throw Failure(kOutputFailed, options.output + ": not all of it could be written");
  } catch (const Kelbor::Exception&) {
    throw Failure(kOutputFailed, options.output + ": not all of it could be written");
  }
  if (truth) truth->write(describe(model).dump(1) + "\n");
  sample.commit();
  if (truth) truth->commit();
  return kSuccess;
}

}  // namespace

Command addSample(CLI::App& program, const Common& /*common*/) {
  CLI::App* app = program.add_subcommand("sample", "Writes a sample file");
  const auto options = std::make_shared<SampleOptions>();
  app->add_option("OUTPUT", options->output, "result file to write")->required();
  addKeyword(
      *app, "--kind", options->kind, {"crash", "zoo"},
      "a crushed tube whose every number is known, or one of everything that a file can hold");
  addCount(*app, "--nodes", options->nodes, 1, "about as many nodes (10000)");
  addCount(*app, "--steps", options->steps, 1, "time steps (20)");
  addCount(*app, "--chunks", options->chunks, 1, "chunks of each dataset, for as many threads (4)");
  app->add_option("--truth", options->truth,
                  "JSON file to write with values that a reader must find")
      ->type_name("JSON");
  app->add_flag("--force", options->mayReplace, "replace a file that is there");
  app->footer(
      "Examples:\n  morvex sample crash.mvx --nodes 100000 --steps 50\n"
      "  morvex sample zoo.mvx --kind zoo");
  return {app, [options] { return writeSample(*options); }};
}

}  // namespace morvex::tools
