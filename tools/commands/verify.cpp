#include "commands/verify.hpp"

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>

#include "commands/command.hpp"
#include "common/output.hpp"
#include "common/text_table.hpp"
#include "common/values.hpp"

namespace morvex::tools {
namespace {

/// Arranges sections, or the arrays of one. Each order meets other states of the cache.
template <class T>
void arrange(std::vector<T>& items, ReadOrder order, std::mt19937_64& random) {
  if (order == ReadOrder::kBackward) std::ranges::reverse(items);
  if (order == ReadOrder::kRandom) std::ranges::shuffle(items, random);
}

/// Reads a choice and collects the outcome. All arguments are borrowed.
class Verification {
 public:
  Verification(const File& file, const Contents& contents, const Choice& choice)
      : file_(file), contents_(contents), list_(file, contents, choice) {}

  Tally run(ReadOrder order, std::uint64_t seed, const Common& common) {
    for (const std::string& problem : contents_.problems) tally_.faults["metadata"] = {problem};
    // The arrays of such a variable can't be listed; it counts as one.
    tally_.failed += contents_.problems.size();
    std::vector<Section> sections = list_.sections();
    std::mt19937_64 random(seed);
    arrange(sections, order, random);
    // Sections are arranged here, the arrays of each when they are listed.
    Scan(file_, list_, common)
        .run(
            sections, [&](const ArrayResult& result) { receive(result); },
            [&](const Section& section, const Error& failure) {
              ++tally_.failed;  // its arrays are unknown and count as one
              tally_.faults[list_.nameOf(section)].reason = failure.what();
            },
            [&](std::vector<ArrayId>& arrays) { arrange(arrays, order, random); });
    list_.requireNamed();
    return std::move(tally_);
  }

 private:
  /// Counts an array, or blames the dataset where its failure began.
  void receive(const ArrayResult& result) {
    const std::string path = placeOf(file_, result.id);
    if (isAbsent(file_, result)) {
      ++tally_.absent;
      return;
    }
    if (result.failure) return fail(path, *result.failure);
    KindTally& kind = tally_.kinds.at(static_cast<std::size_t>(result.id.kind));
    ++kind.arrays;
    kind.bytes += result.bytes.size();
    kind.digest += digestOf(result.id, result.bytes, path);
  }

  void fail(const std::string& path, const Error& failure) {
    // The library names the dataset that failed, which may be one that this array depends on.
    const bool isRoot = failure.path().empty() || failure.path() == path;
    ++tally_.failed;
    Fault& fault = tally_.faults[isRoot ? path : failure.path()];
    std::string reason = failure.what();
    // The library appends what depends on the dataset; that is counted below.
    reason = reason.substr(0, reason.rfind("; "));
    const std::string place = failure.path() + ": ";
    if (reason.starts_with(place)) reason.erase(0, place.size());
    fault.reason = reason;
    if (!isRoot) ++fault.dependents;
  }

  const File& file_;
  const Contents& contents_;
  ArrayList list_;
  Tally tally_;
};

/// By ReadOrder.
constexpr std::array<std::string_view, 3> kOrders{"forward", "backward", "random"};

/// As typed; the seed has a fixed value, so that two runs agree.
struct VerifyOptions {
  std::vector<std::string> files;
  Selection selection;
  ReadOrder order = ReadOrder::kForward;
  std::uint64_t seed = 1;
  bool asJson = false;
};

/// One line for a dataset that fails, with the arrays that depend on it.
std::string faultText(const std::string& path, const Fault& fault) {
  std::string text = "FAILED  " + shownText(path) + ": " + shownText(fault.reason);
  if (fault.dependents > 0) {
    text += "; " + std::to_string(fault.dependents) +
            (fault.dependents == 1 ? " array depends on it" : " arrays depend on it");
  }
  return text;
}

/// Counts, bytes and digests by kind, with their sum.
std::string tallyTable(const Tally& tally) {
  TextTable table({"kind", ">arrays", ">bytes", "digest"});
  const auto row = [&](const char* name, const KindTally& kind) {
    table.row(
        {name, std::to_string(kind.arrays), std::to_string(kind.bytes), digestText(kind.digest)});
  };
  for (std::size_t k = 0; k < kArrayKinds; ++k) {
    if (tally.kinds[k].arrays != 0) row(kindName(static_cast<ArrayKind>(k)), tally.kinds[k]);
  }
  row("all", tally.sum());
  return table.text();
}

std::string verdict(const Tally& tally) {
  // No failure: a variable need not have values everywhere.
  const std::string absent = tally.absent == 0 ? ""
                                               : " " + std::to_string(tally.absent) +
                                                     " arrays of variables are not in the file.";
  if (tally.failed == 0) return "All arrays can be read." + absent + "\n";
  return std::to_string(tally.failed) + " of " + std::to_string(tally.sum().arrays + tally.failed) +
         " arrays can't be read." + absent + "\n";
}

std::string tallyJson(const std::string& path, const Tally& tally) {
  using Json = nlohmann::ordered_json;
  // Raised when a key changes its meaning or goes.
  constexpr int kSchema = 1;
  Json object{{"schema", kSchema},      {"file", path},           {"kinds", Json::object()},
              {"failed", tally.failed}, {"absent", tally.absent}, {"faults", Json::array()}};
  for (std::size_t k = 0; k < kArrayKinds; ++k) {
    const KindTally& kind = tally.kinds[k];
    if (kind.arrays == 0) continue;
    object["kinds"][kindName(static_cast<ArrayKind>(k))] = {
        {"arrays", kind.arrays}, {"bytes", kind.bytes}, {"digest", digestText(kind.digest)}};
  }
  for (const auto& [place, fault] : tally.faults) {
    object["faults"].push_back(
        {{"path", place}, {"reason", fault.reason}, {"dependents", fault.dependents}});
  }
  return object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

ExitCode verifyFile(const std::string& path, const VerifyOptions& options, const Common& common) {
  const File file = openFile(path, common.open);
  const Contents contents = readContents(file);
  const Choice choice(options.selection, file, contents);
  const Tally tally = tallyOf(file, contents, choice, options.order, options.seed, common);
  if (options.asJson) {
    put(tallyJson(path, tally));
  } else {
    if (options.files.size() > 1 && !common.isQuiet) put(shownText(path) + "\n");
    for (const auto& [place, fault] : tally.faults) {
      put(wrapped(faultText(place, fault), terminalWidth(), 8) + "\n");
    }
    if (!common.isQuiet) put(tallyTable(tally) + verdict(tally));
  }
  return tally.failed == 0 ? kSuccess : kFindings;
}

}  // namespace

KindTally Tally::sum() const {
  KindTally sum;
  for (const KindTally& kind : kinds) {
    sum.arrays += kind.arrays;
    sum.bytes += kind.bytes;
    sum.digest += kind.digest;
  }
  return sum;
}

Tally tallyOf(const File& file, const Contents& contents, const Choice& choice, ReadOrder order,
              std::uint64_t seed, const Common& common) {
  return Verification(file, contents, choice).run(order, seed, common);
}

Command addVerify(CLI::App& program, const Common& common) {
  CLI::App* app = program.add_subcommand("verify", "Decodes everything; prints counts and digests");
  const auto options = std::make_shared<VerifyOptions>();
  addFiles(*app, options->files);
  addSelection(*app, options->selection);
  addArrays(*app, options->selection);
  addJson(*app, options->asJson);
  app->add_option("--order", options->order, "forward, backward or random")
      // The parser's own transformer would show enumerator numbers in its messages.
      ->transform(CLI::Validator(
          [](std::string& text) {
            const auto known = std::ranges::find(kOrders, text);
            if (known == kOrders.end())
              return "'" + text + "' is none of forward, backward, random";
            text = std::to_string(known - kOrders.begin());
            return std::string();
          },
          ""))
      ->type_name("ORDER");
  app->add_option("--seed", options->seed, "of the random order")->type_name("N");
  app->footer(
      "Examples:\n  morvex verify -q crash.mvx\n"
      "  morvex verify crash.mvx --order random --seed 7");
  return {app, [options, &common] {
            return forEachFile(options->files, [&](const std::string& path) {
              return verifyFile(path, *options, common);
            });
          }};
}

}  // namespace morvex::tools
