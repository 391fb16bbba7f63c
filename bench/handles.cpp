// What the handles of libmorvex cost and gain: a second opening, batches beside single calls, two
// threads beside one, and two files at the same time, in the time that a program waits.

#include <array>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "measure.hpp"
#include "model_files.hpp"
#include "morvex/morvex.hpp"
#include "peers.hpp"

namespace {

using namespace morvex;
using Bench::Row;

/// All arrays of floats of a file, with memory of their own.
class Arrays {
 public:
  explicit Arrays(const File& file) {
    const morvex_summary summary = file.summary();
    for (int part = 0; part < static_cast<int>(summary.parts); ++part) {
      const morvex_part info = file.part(part);
      for (int step = 0; step < static_cast<int>(summary.model.steps); ++step) {
        add(file, request(MORVEX_COORDINATES, step, part));
      }
      for (int v = 0; v < static_cast<int>(summary.variables); ++v) {
        const morvex_variable variable = file.variable(v);
        const int types = variable.location == MORVEX_PER_ELEMENT ? MORVEX_ELEMENT_TYPES : 1;
        for (int type = 0; type < types; ++type) {
          if (types > 1 && info.elements[type] == 0) continue;
          for (int step = 0; step < static_cast<int>(variable.steps); ++step) {
            add(file, variableRequest(v, step, part, type));
          }
        }
      }
    }
    targets_.resize(requests_.size());
    for (std::size_t i = 0; i < requests_.size(); ++i) {
      targets_[i].assign(requests_[i].capacity, 0.0F);
      requests_[i].target = targets_[i].data();
    }
  }

  [[nodiscard]] std::vector<morvex_request>& requests() noexcept { return requests_; }
  [[nodiscard]] const std::vector<std::vector<float>>& values() const noexcept { return targets_; }

 private:
  void add(const File& file, morvex_request of) {
    if (morvex_get_size(file.handle(), &of, &of.capacity, nullptr) == MORVEX_OK) {
      requests_.push_back(of);
    }
  }

  std::vector<morvex_request> requests_;
  std::vector<std::vector<float>> targets_;
};

/// Opened and closed in each round, like the arrays of another program's run.
void readAll(const std::string& path, Arrays& arrays, int threads) {
  const File file(path, threads);
  file.read(arrays.requests());
}

void readOneByOne(const std::string& path, Arrays& arrays) {
  const File file(path, 1);
  for (morvex_request& of : arrays.requests()) check(morvex_read(file.handle(), &of, 1, nullptr));
}

void compare(const std::string& title, const std::string& path, int rounds) {
  Arrays arrays{File(path)};
  std::size_t count = 0;
  for (const auto& values : arrays.values()) count += values.size();
  std::vector<Row> rows;
  rows.push_back({"batch, 1 thread", [&](int) { readAll(path, arrays, 1); }});
  rows.push_back({"single calls, 1 thread", [&](int) { readOneByOne(path, arrays); }});
  rows.push_back({"batch, 2 threads", [&](int) { readAll(path, arrays, 2); }});
  Bench::measure(rows, rounds, Bench::Clock::kWall);
  Bench::printTable(title + ": " + std::to_string(arrays.requests().size()) + " requests", rows,
                    count);
}

/// Two files, each read by a thread of its own, beside HDF5, whose lock is the process's.
void compareTwoFiles(const std::string& path, const Bench::ScratchDirectory& scratch, int rounds) {
  const std::string copy = scratch.path("copy.sdf");
  std::filesystem::copy_file(path, copy);
  std::array<Arrays, 2> arrays{Arrays(File(path)), Arrays(File(copy))};
  const std::array<std::string, 2> paths{path, copy};
  const auto read = [&](std::size_t i) { readAll(paths[i], arrays[i], 1); };
  for (const std::size_t i : {0U, 1U}) read(i);
  std::vector<std::vector<std::unique_ptr<Bench::Peer>>> peers(2);
  for (const std::size_t i : {0U, 1U}) {
    const std::string directory = scratch.path(std::to_string(i));
    std::filesystem::create_directory(directory);
    peers[i] = Bench::makePeers(arrays[i].values(), {}, directory);
  }
  std::array<std::vector<std::vector<float>>, 2> targets{arrays[0].values(), arrays[1].values()};
  const auto inTurn = [](const auto& work) {
    return [work](int) {
      work(std::size_t{0});
      work(std::size_t{1});
    };
  };
  const auto together = [](const auto& work) {
    return [work](int) {
      std::thread other(work, std::size_t{1});
      work(std::size_t{0});
      other.join();
    };
  };
  std::vector<Row> rows;
  rows.push_back({"one after the other", inTurn(read)});
  rows.push_back({"at the same time", together(read)});
  for (std::size_t p = 0; p < peers[0].size(); ++p) {
    if (!peers[0][p]->name().starts_with("HDF5")) continue;
    const auto readPeer = [&, p](std::size_t i) { peers[i][p]->readAll(targets[i]); };
    rows.push_back({"HDF5, one after the other", inTurn(readPeer)});
    rows.push_back({"HDF5, at the same time", together(readPeer)});
  }
  Bench::measure(rows, rounds, Bench::Clock::kWall);
  std::size_t count = 0;
  for (const auto& values : targets[0]) count += values.size();
  Bench::printTable("two files, two threads", rows, 2 * count);
}

void compareOpening(const std::string& path, int rounds) {
  std::vector<Row> rows;
  rows.push_back({"first opening", [&](int) { const File file(path); }});
  const File kept(path);
  rows.push_back({"with another handle open", [&](int) { const File file(path); }});
  Bench::measure(rows, rounds, Bench::Clock::kWall);
  Bench::printTable("opening", rows, 0);
}

}  // namespace

int main(int argc, char** argv) {
  const bool isQuick = argc > 1 && std::string(argv[1]) == "--quick";
  const int rounds = isQuick ? 3 : 9;
  try {
    std::cout << Bench::machine() << "\nwall time, medians of " << rounds << " rounds\n";
    const Bench::ScratchDirectory scratch;
    const std::string many = scratch.path("many.sdf");
    Bench::writeManyArrays(many, {.parts = isQuick ? 50U : 1000U, .variables = 2, .steps = 5});
    compare("parts of 2,000 values", many, rounds);
    compareOpening(many, rounds);
    compareTwoFiles(many, scratch, rounds);
    for (int i = isQuick ? 2 : 1; i < argc; ++i) compare(argv[i], argv[i], rounds);
  } catch (const std::exception& failure) {
    std::cout << "failed: " << failure.what() << "\n";
    return 1;
  }
  return 0;
}
