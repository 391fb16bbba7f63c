#include "reader/api/batch.hpp"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "procedures/team.hpp"
#include "reader/api/array.hpp"
#include "simulation/read_context.hpp"

namespace morvex::Api {
namespace {

/// Stored steps that a reader keeps for the steps that depend on them. Beyond, all go: the series that
/// is being read decodes some of its steps once more.
constexpr std::uint64_t kMostKeptBytes = std::uint64_t{128} << 20U;

std::string pathOf(const Array& array) {
  const auto datasets = array.datasets();
  return datasets.empty() ? std::string() : datasets.front().first + "/" + datasets.front().second;
}

/// Turns the exception in flight into a failure that names the first dataset that failed.
Failure failureOfRead(File& file, const Array& array, const ReadFailure& where,
                      const CallMessages& messages) {
  Failure failure = failureInFlight();
  const std::string asked = where.requested.empty() ? pathOf(array) : where.requested;
  failure.path = where.dataset.empty() ? asked : where.dataset;
  if (failure.text == "Failed to open file") {
    failure.text = Kelbor::Platform::reasonNotToRead(file.path());
    failure.code = failure.text.empty() ? MORVEX_FILE_CHANGED : MORVEX_CANNOT_OPEN;
    if (failure.text.empty()) failure.text = "The file has changed since it was opened";
    return failure;
  }
  if (where.isMissing) {
    failure.code = MORVEX_NO_SUCH_DATA;
    failure.text = "the file has no such dataset";
  } else if (failure.code == MORVEX_DAMAGED) {
    // Failures in a team or a dependency only report that they occurred; the first error line has
    // the reason.
    std::string reason = messages.firstError();
    if (reason.empty()) reason = failure.text;
    const bool isKnown = !reason.empty() && reason != "Provider prepare the content failed!";
    failure.text = "the dataset can't be decoded" + (isKnown ? " (" + reason + ")" : std::string());
  }
  if (failure.path != asked && !asked.empty()) failure.text += "; " + asked + " depends on it";
  return failure;
}

/// The arrays of a read, the order in which threads take them, and the progress.
class Batch {
 public:
  Batch(File& file, std::span<morvex_request> requests, const morvex_read_options& options)
      : file_(file), requests_(requests), options_(options), arrays_(requests.size()) {}

  Failure run() {
    for (std::size_t i = 0; i < requests_.size(); ++i) prepare(i);
    arrange();
    if (!report(0, 0)) isCancelled_ = true;
    const int threads = options_.threads > 0 ? options_.threads : file_.threads();
    Kelbor::MathModule::runTeam(groups_.size(), threads,
                                [&](std::size_t group) { readGroup(groups_[group], threads); });
    return outcome();
  }

 private:
  /// Requests that one reader serves in sequence.
  struct Group {
    std::vector<std::size_t> requests;
    std::uint64_t bytes = 0;
  };

  void prepare(std::size_t index) {
    morvex_request& request = requests_[index];
    request.count = 0;
    request.code = MORVEX_CANCELLED;
    try {
      const Array& array = arrays_[index].emplace(file_.contents(), request);
      request.count = array.count();
      if (array.count() > request.capacity) {
        throw Refusal(MORVEX_TOO_SMALL, "the array has " + std::to_string(array.count()) +
                                            " values, the target has room for " +
                                            std::to_string(request.capacity));
      }
      if (!request.target && array.count() > 0) throw Refusal(MORVEX_BAD_ARGUMENT, "no target");
    } catch (...) {
      arrays_[index].reset();
      fail(index, failureInFlight());
    }
  }

  void arrange() {
    std::map<SeriesKey, std::size_t> groupOf;
    for (std::size_t i = 0; i < requests_.size(); ++i) {
      if (!arrays_[i]) continue;
      const SeriesKey key = arrays_[i]->series();
      std::size_t group = groups_.size();
      if (key.isSeries) group = groupOf.try_emplace(key, group).first->second;
      if (group == groups_.size()) groups_.emplace_back();
      groups_[group].requests.push_back(i);
      groups_[group].bytes += arrays_[i]->bytes();
    }
    for (Group& group : groups_) {
      std::ranges::stable_sort(group.requests, {},
                               [&](std::size_t i) { return arrays_[i]->storedStep(); });
    }
    // Largest first: a large one taken last would leave one thread working alone.
    std::ranges::stable_sort(groups_, std::greater(), &Group::bytes);
  }

  void readGroup(const Group& group, int threads) noexcept {
    const WorkFor work(file_);  // for each thread of the team: callbacks must not close the file
    std::optional<Loan> loan;
    for (const std::size_t index : group.requests) {
      if (isCancelled_.load(std::memory_order_relaxed)) return;
      std::uint64_t delivered = 0;
      try {
        if (!loan) loan.emplace(file_.instances(), threads);
        readArray(file_, requests_[index], *arrays_[index], *loan, requests_[index].target);
        requests_[index].code = MORVEX_OK;
        delivered = arrays_[index]->bytes();
      } catch (...) {
        try {
          fail(index, failureInFlight());
        } catch (...) {  // no memory for the text
          requests_[index].code = MORVEX_OUT_OF_MEMORY;
        }
      }
      if (!report(1, delivered)) isCancelled_ = true;
    }
  }

  void fail(std::size_t index, Failure failure) {
    requests_[index].code = failure.code;
    failure.step = requests_[index].step;
    failure.part = requests_[index].part;
    const std::lock_guard guard(lock_);
    if (options_.failed) {
      const morvex_error error = shown(failure);
      options_.failed(options_.user, index, &error);
    }
    if (!first_ || index < first_->first) first_.emplace(index, std::move(failure));
  }

  /// False if the caller cancels the read.
  bool report(std::uint64_t arrays, std::uint64_t bytes) {
    if (!options_.progress) return true;
    const std::lock_guard guard(lock_);
    done_ += arrays;
    bytes_ += bytes;
    return options_.progress(options_.user, done_, requests_.size(), bytes_) == 0;
  }

  Failure outcome() {
    if (isCancelled_) return {.code = MORVEX_CANCELLED, .text = "the read was cancelled"};
    return first_ ? std::move(first_->second) : Failure{};
  }

  File& file_;
  std::span<morvex_request> requests_;
  const morvex_read_options& options_;
  std::vector<std::optional<Array>> arrays_;
  std::vector<Group> groups_;

  std::mutex lock_;
  std::uint64_t done_ = 0;
  std::uint64_t bytes_ = 0;
  std::optional<std::pair<std::size_t, Failure>> first_;
  std::atomic<bool> isCancelled_{false};
};

}  // namespace

void readArray(File& file, const morvex_request& request, const Array& array, Loan& loan,
               void* target) {
  const CallMessages messages(file.messages());
  EnsgSimulation& simulation = loan.simulation();
  try {
    array.read(simulation, target);
    DatasetCache& kept = simulation.reads().externalDependencyCache;
    if (kept.sizeInBytes() > kMostKeptBytes) kept.clear();
  } catch (const Refusal& refusal) {
    Failure failure = refusal.failure();
    if (failure.path.empty()) failure.path = pathOf(array);
    failure.step = request.step;
    failure.part = request.part;
    throw Refusal(std::move(failure));
  } catch (...) {
    Failure failure = failureOfRead(file, array, simulation.reads().failure, messages);
    failure.step = request.step;
    failure.part = request.part;
    throw Refusal(std::move(failure));
  }
}

Failure readBatch(File& file, std::span<morvex_request> requests,
                  const morvex_read_options& options) {
  return Batch(file, requests, options).run();
}

}  // namespace morvex::Api
