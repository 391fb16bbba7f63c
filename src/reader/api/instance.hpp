#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "core/data_manager.hpp"
#include "simulation/simulation.hpp"

namespace morvex::Api {

/// One reader of a file, with its own stream, tree and caches; used by one thread at a time. All
/// readers of a file share their metadata.
struct Instance {
  explicit Instance(const std::string& path) : simulation(&manager, path, /*keepUnloaded=*/false) {}
  explicit Instance(const EnsgSimulation& other) : simulation(&manager, other) {}

  Kelbor::DataManager manager;
  EnsgSimulation simulation;
};

/// The readers of a file. A call borrows one. There are as many as threads have read at once; at
/// most `mostIdle` are kept.
class InstancePool {
 public:
  /// Opens the file. Throws what EnsgSimulation's constructor throws.
  explicit InstancePool(const std::string& path, std::size_t mostIdle);

  [[nodiscard]] const SimulationMetadata& metadata() const noexcept {
    return first_->simulation.metadata();
  }

  /// The most recently used reader, whose caches are most useful; a new one if none is idle.
  [[nodiscard]] std::unique_ptr<Instance> take();
  void giveBack(std::unique_ptr<Instance> instance) noexcept;
  /// Evicts what reads of coordinates share.
  void clearGeometryCaches();

 private:
  const std::size_t mostIdle_;
  std::mutex lock_;
  std::vector<std::unique_ptr<Instance>> idle_;
  /// The reader that opened the file. Borrowed like the others, but never dropped: new ones take
  /// the file's metadata and identity from it, which don't change.
  const Instance* first_;
};

/// A borrowed reader.
class Loan {
 public:
  /// `threads`: most threads for a read.
  Loan(InstancePool& pool, int threads) : pool_(pool), instance_(pool.take()) {
    instance_->manager.setThreadBudget(threads);
  }
  ~Loan() { pool_.giveBack(std::move(instance_)); }
  Loan(const Loan&) = delete;
  Loan& operator=(const Loan&) = delete;

  [[nodiscard]] EnsgSimulation& simulation() noexcept { return instance_->simulation; }

 private:
  InstancePool& pool_;
  std::unique_ptr<Instance> instance_;
};

}  // namespace morvex::Api
