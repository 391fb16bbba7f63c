// morvex-sample: writes the crash box as a result file, and on request what a reader of it must
// find.

#include <CLI/CLI.hpp>
#include <exception>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "writer/crash_box.hpp"

namespace {

using morvex::Writer::CrashBox;
using morvex::Writer::Tolerance;
using morvex::Writer::ValueKey;

/// Values of an array that the description states: a few are enough to tell a wrong one.
nlohmann::json probesOf(const std::vector<float>& values) {
  constexpr std::size_t kProbes = 5;
  auto probes = nlohmann::json::object();
  for (std::size_t i = 0; i < kProbes && !values.empty(); ++i) {
    const std::size_t at = (values.size() - 1) * i / (kProbes - 1);
    probes[std::to_string(at)] = values[at];
  }
  return probes;
}

nlohmann::json jsonOf(const Tolerance& tolerance) {
  return {{"absolute", tolerance.absolute}, {"relative", tolerance.relative}};
}

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

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Writes a crash box as a result file.");
  std::string output;
  std::string truth;
  CrashBox::Options options;
  app.add_option("output", output, "result file to write")->required();
  app.add_option("--nodes", options.nodes, "about as many nodes")->capture_default_str();
  app.add_option("--steps", options.steps, "time steps")
      ->check(CLI::Range(1, 100'000))
      ->capture_default_str();
  app.add_option("--chunks", options.tableChunks, "chunks of each dataset, for so many threads")
      ->check(CLI::Range(1, 1'000'000))
      ->capture_default_str();
  app.add_option("--truth", truth, "JSON file to write with values that a reader must find");
  CLI11_PARSE(app, argc, argv);
  try {
    const CrashBox model(options);
    model.file().write(output);
    if (!truth.empty()) {
      std::ofstream stream(truth);
      stream << describe(model).dump(1) << '\n';
      if (!stream.flush()) throw std::runtime_error("Can't write file " + truth);
    }
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << "morvex-sample: " << failure.what() << '\n';
    return 1;
  }
}
