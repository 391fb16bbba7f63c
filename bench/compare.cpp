// The library beside other ways of storing the same arrays, in one run: processor time of one
// thread, rounds interleaved. `morvex-compare --help` lists the options.

#include <morvex/morvex_ensg.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <stdexcept>

#include "host_session.hpp"
#include "measure.hpp"
#include "model_files.hpp"
#include "peers.hpp"
#include "stored_streams.hpp"

namespace {

using namespace morvex::Bench;

/// Limits a file's arrays, so that all peers' copies fit into memory.
constexpr std::size_t kMostValues = 150'000'000;

constexpr const char* kUsage =
    "morvex-compare [options]\n"
    "  --rounds N     rounds of each table (9)\n"
    "  --nodes N      nodes of the generated model (1000000)\n"
    "  --datasets N   datasets of the file of many small ones (100000)\n"
    "  --file PATH    also a real result file; or the environment's MORVEX_COMPARE_FILE\n"
    "  --only WORD    tables whose title has the word\n"
    "  --quick        small sizes and few rounds, to see that it runs\n";

struct Options {
  int rounds = 9;
  std::uint32_t nodes = 1'000'000;
  std::uint32_t datasets = 100'000;
  std::string file;
  std::string only;

  /// A model whose arrays are stored in chunks for threads.
  [[nodiscard]] CrashModel cutModel(std::uint32_t parts, bool isQuantised) const {
    return {.nodes = nodes, .parts = parts, .isQuantised = isQuantised, .tableChunks = 8};
  }
};

Options optionsOf(int argc, char** argv) {
  Options options;
  if (const char* file = std::getenv("MORVEX_COMPARE_FILE")) options.file = file;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (option == "--quick") {
      options.rounds = 3;
      options.nodes = 50'000;
      options.datasets = 2'000;
      continue;
    }
    if (i + 1 == argc || option == "--help") throw std::invalid_argument(kUsage);
    const std::string value = argv[++i];
    if (option == "--rounds") {
      options.rounds = std::stoi(value);
    } else if (option == "--nodes") {
      options.nodes = static_cast<std::uint32_t>(std::stoul(value));
    } else if (option == "--datasets") {
      options.datasets = static_cast<std::uint32_t>(std::stoul(value));
    } else if (option == "--file") {
      options.file = value;
    } else if (option == "--only") {
      options.only = value;
    } else {
      throw std::invalid_argument(kUsage);
    }
  }
  return options;
}

/// Quantisation steps by array of a crash model: all coordinates, displacements and stresses.
Steps stepsOf(const Listing& listing) {
  Steps steps(listing.sizes.size());
  for (const Question& q : listing.questions) {
    if (q.variable < 0) {
      std::fill_n(steps.begin() + static_cast<std::ptrdiff_t>(q.firstArray), 3, kCoordinateStep);
    } else {
      steps[q.firstArray] = q.variable == 0 ? kDisplacementStep : kStressStep;
    }
  }
  return steps;
}

/// A comparison with wrong values would be worthless. Integers times a step may differ in the last
/// place, since the order of rounding differs.
void demandSame(const std::string& who, const Arrays& truth, const Arrays& arrays) {
  for (std::size_t a = 0; a < truth.size(); ++a) {
    for (std::size_t i = 0; i < truth[a].size(); ++i) {
      const float wanted = truth[a][i];
      const float got = arrays[a][i];
      // By their bits: values that are not numbers agree as well.
      if (std::bit_cast<std::uint32_t>(wanted) == std::bit_cast<std::uint32_t>(got)) continue;
      if (!(std::abs(wanted - got) <= 1e-6F * std::abs(wanted))) {
        throw std::runtime_error(who + " read " + std::to_string(got) + " as value " +
                                 std::to_string(i) + " of array " + std::to_string(a) + ", not " +
                                 std::to_string(wanted));
      }
    }
  }
}

/// A process that does nothing as fast as it can, until the object ends.
class BusyProcess {
 public:
  BusyProcess() : child_(::fork()) {
    while (child_ == 0) (void)::getppid();
  }
  ~BusyProcess() {
    if (child_ <= 0) return;
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }
  BusyProcess(const BusyProcess&) = delete;
  BusyProcess& operator=(const BusyProcess&) = delete;

 private:
  pid_t child_;
};

class Comparison {
 public:
  explicit Comparison(Options options) : options_(std::move(options)) {}

  [[nodiscard]] bool isWanted(const std::string& title) const {
    return title.find(options_.only) != std::string::npos;
  }

  void compareCrashModel(const std::string& title, std::uint32_t parts, bool isQuantised) {
    if (!isWanted(title)) return;
    const std::string path = scratch_.path("model.sdf");
    writeCrashModel(path, {.nodes = options_.nodes, .parts = parts, .isQuantised = isQuantised});
    compareFile(title, path, isQuantised);
  }

  /// Everything in a file, which is opened and closed in each round.
  void compareFile(const std::string& title, const std::string& path, bool hasKnownSteps) {
    Listing listing;
    Arrays truth;
    {
      const Session session(path, 1);
      listing = listArrays(kMostValues);
      truth = emptyArrays(listing);
      askAll(listing, truth);
    }
    Arrays target = emptyArrays(listing);
    auto peers = makePeers(truth, {}, scratch_.path(""));
    if (hasKnownSteps) {
      for (auto& peer : makePeers(truth, stepsOf(listing), scratch_.path(""))) {
        if (peer->name().find("integers") != std::string::npos) peers.push_back(std::move(peer));
      }
    }
    const auto streams = storedStreams(path);
    std::size_t largest = 0;
    std::size_t streamBytes = 0;
    for (const StoredStream& stream : streams) {
      largest = std::max(largest, stream.inflatedSize);
      streamBytes += stream.bytes.size();
    }
    std::vector<std::byte> inflated(largest);

    std::vector<Row> rows;
    rows.push_back({"this library",
                    [&](int) {
                      const Session session(path, 1);
                      askAll(listing, target);
                    },
                    std::filesystem::file_size(path)});
    for (const auto& peer : peers) {
      peer->readAll(target);
      demandSame(peer->name(), truth, target);
      rows.push_back({peer->name(), [&](int) { peer->readAll(target); }, peer->storedBytes()});
    }
    if (hasIgzip()) {
      rows.push_back(
          {"inflate alone, igzip", [&](int) { inflateWithIgzip(streams, inflated); }, streamBytes});
    }
    rows.push_back(
        {"inflate alone, zlib", [&](int) { inflateWithZlib(streams, inflated); }, streamBytes});
    measure(rows, options_.rounds);
    printTable(title + ": " + std::to_string(listing.sizes.size()) + " arrays, " +
                   std::to_string(listing.values()) + " values",
               rows, listing.values());
  }

  /// The same arrays stored for one thread and for two, in wall time.
  void compareThreads(const std::string& title, const CrashModel& model) {
    if (!isWanted(title)) return;
    const std::string path = scratch_.path("threads.sdf");
    writeCrashModel(path, model);
    compareThreadsOn(title, path);
  }

  /// The same on a machine where another process keeps a processor busy.
  void compareBusyThreads(const std::string& title, const std::string& path) {
    if (!isWanted(title)) return;
    const BusyProcess other;
    compareThreadsOn(title, path);
  }

  void compareThreadsOn(const std::string& title, const std::string& path) {
    Listing listing;
    {
      const Session session(path, 1);
      listing = listArrays(kMostValues);
    }
    Arrays target = emptyArrays(listing);
    std::vector<Row> rows;
    for (const int threads : {1, 2}) {
      rows.push_back({std::to_string(threads) + (threads == 1 ? " thread" : " threads"),
                      [&, threads](int) {
                        const Session session(path, threads);
                        askAll(listing, target);
                      },
                      std::filesystem::file_size(path)});
    }
    measure(rows, options_.rounds, Clock::kWall);
    printTable(title + ", wall time", rows, listing.values());
  }

  /// All steps of a variable in order, stored plainly and as differences.
  void compareWalks() {
    const std::string title = "forward walk over 96 steps";
    if (!isWanted(title)) return;
    CrashModel model{.nodes = options_.nodes / 10, .parts = 4, .steps = 96};
    const std::string plain = scratch_.path("plain.sdf");
    writeCrashModel(plain, model);
    model.usesTimeDifferences = true;
    const std::string differences = scratch_.path("differences.sdf");
    writeCrashModel(differences, model);
    Listing walk;
    {
      const Session session(plain, 1);
      walk = listArrays(kMostValues);
    }
    constexpr int kDisplacement = 0;
    std::erase_if(walk.questions, [](const Question& q) { return q.variable != kDisplacement; });
    Arrays target = emptyArrays(walk);
    std::vector<Row> rows;
    for (const std::string& path : {plain, differences}) {
      rows.push_back({path == plain ? "plain steps" : "time differences",
                      [&, path](int) {
                        const Session session(path, 1);
                        MX_finishedGeometryProcessing();
                        askAll(walk, target);
                      },
                      std::filesystem::file_size(path)});
    }
    rows.front().run(-1);
    const Arrays truth = target;
    rows.back().run(-1);
    demandSame("The walk over differences", truth, target);
    measure(rows, options_.rounds);
    printTable(title, rows, 0);
  }

  void compareManyArrays() {
    const std::string reads = "1,000 small reads";
    const std::string opening = "opening and listing";
    if (!isWanted(reads) && !isWanted(opening)) return;
    ManyArrays many;
    many.steps = std::max(options_.datasets / (many.parts * many.variables), 1U);
    const std::string path = scratch_.path("many.sdf");
    const std::string peerPath = scratch_.path("many.h5");
    const auto distinct = writeManyArrays(path, many);
    if (Hdf5Tree::isAvailable()) {
      Hdf5Tree::write(peerPath, distinct, many.parts, many.steps, kDisplacementStep);
    }
    const std::string of = " of " + std::to_string(distinct.size() * many.steps) + " datasets";
    if (isWanted(reads)) compareSmallReads(reads + of, path, peerPath, many);
    if (isWanted(opening)) compareOpening(opening + of, path, peerPath);
  }

 private:
  struct Pick {
    std::uint32_t variable;
    std::uint32_t step;
    std::uint32_t part;
  };

  /// 1,000 places anywhere in the file, different ones in each round.
  static std::vector<Pick> picksOf(int round, const ManyArrays& many) {
    std::vector<Pick> picks;
    auto state = static_cast<std::uint32_t>(round + 2) * 2654435761U;
    const auto below = [&state](std::uint32_t bound) {
      state = state * 1664525U + 1013904223U;
      return (state >> 8) % bound;
    };
    for (int i = 0; i < 1000; ++i) {
      picks.push_back({below(many.variables), below(many.steps), below(many.parts)});
    }
    return picks;
  }

  void compareSmallReads(const std::string& title, const std::string& path,
                         const std::string& peerPath, const ManyArrays& many) {
    const Session session(path, 1);
    readTables();
    MX_finishedGeometryProcessing();
    Arrays target(1, std::vector<float>(many.valuesPerArray));
    std::vector<float> peerTarget(many.valuesPerArray);
    const auto askFor = [&](const Pick& pick) {
      ask({.variable = static_cast<int>(pick.variable),
           .step = static_cast<int>(pick.step),
           .part = static_cast<int>(pick.part),
           .variableType = 1},
          target);
    };
    std::vector<Row> rows;
    rows.push_back({"this library",
                    [&](int round) {
                      for (const Pick& pick : picksOf(round, many)) askFor(pick);
                    },
                    std::filesystem::file_size(path)});
    std::unique_ptr<Hdf5Tree> tree;
    if (Hdf5Tree::isAvailable()) {
      tree = std::make_unique<Hdf5Tree>(peerPath);
      for (const Pick& pick : picksOf(0, many)) {
        askFor(pick);
        tree->read(pick.variable, pick.step, pick.part, kDisplacementStep, peerTarget);
        demandSame("HDF5", target, {peerTarget});
      }
      rows.push_back({"HDF5 integers, shuffle + deflate 4",
                      [&](int round) {
                        for (const Pick& pick : picksOf(round, many)) {
                          tree->read(pick.variable, pick.step, pick.part, kDisplacementStep,
                                     peerTarget);
                        }
                      },
                      std::filesystem::file_size(peerPath)});
    }
    measure(rows, options_.rounds);
    printTable(title, rows, 1000ULL * many.valuesPerArray);
  }

  void compareOpening(const std::string& title, const std::string& path,
                      const std::string& peerPath) {
    const std::uint64_t size = std::filesystem::file_size(path);
    std::vector<Row> rows;
    rows.push_back({"this library, open and all tables",
                    [&](int) {
                      const Session session(path, 1);
                      if (readTables() == 0) throw std::runtime_error("The file is empty");
                    },
                    size});
    rows.push_back({"this library's container, all names",
                    [&](int) {
                      if (countEntries(path) == 0) throw std::runtime_error("The file is empty");
                    },
                    size});
    if (Hdf5Tree::isAvailable()) {
      const std::uint64_t peerSize = std::filesystem::file_size(peerPath);
      rows.push_back({"HDF5, open and all names",
                      [&](int) {
                        if (Hdf5Tree(peerPath).countEntries() == 0) {
                          throw std::runtime_error("The file is empty");
                        }
                      },
                      peerSize});
      rows.push_back({"HDF5, open only", [&](int) { const Hdf5Tree tree(peerPath); }, peerSize});
    }
    measure(rows, options_.rounds);
    printTable(title, rows, 0);
  }

  Options options_;
  ScratchDirectory scratch_;
};

}  // namespace

int main(int argc, char** argv) {
  Options options;
  try {
    options = optionsOf(argc, argv);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << "\n";
    return 2;
  }
  // The library warns at each opening.
  if (!std::freopen("/dev/null", "w", stderr)) return 1;
  try {
    std::cout << machine() << "\nprocessor time of one thread, medians of " << options.rounds
              << " interleaved rounds; peak: memory beyond the arrays read into\n";
    Comparison comparison(options);
    comparison.compareCrashModel("quantised model of 42 parts", 42, true);
    comparison.compareCrashModel("exact model of 42 parts", 42, false);
    comparison.compareCrashModel("quantised model of one part", 1, true);
    comparison.compareCrashModel("exact model of one part", 1, false);
    comparison.compareThreads("threads on a quantised model of one part",
                              options.cutModel(1, true));
    comparison.compareThreads("threads on an exact model of one part", options.cutModel(1, false));
    comparison.compareThreads("threads on a quantised model of 1,000 parts",
                              options.cutModel(1000, true));
    comparison.compareWalks();
    comparison.compareManyArrays();
    if (!options.file.empty() && comparison.isWanted("file")) {
      comparison.compareFile("file " + options.file, options.file, false);
      comparison.compareBusyThreads("threads on the file beside a busy process", options.file);
    }
  } catch (const std::exception& failure) {
    std::cout << "failed: " << failure.what() << "\n";
    return 1;
  }
  return 0;
}
