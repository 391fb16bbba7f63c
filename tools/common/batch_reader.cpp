#include "common/batch_reader.hpp"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <new>

namespace morvex::tools {
namespace {

std::atomic<bool> interrupted{false};
static_assert(decltype(interrupted)::is_always_lock_free, "a signal handler sets it");

/// Targets begin where values of any type may.
constexpr std::size_t kAlignment = alignof(std::max_align_t);

std::size_t roundedUp(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

/// Whether a failure is that of one of the array's own datasets, and not of one that it depends on.
bool isOwn(const File& file, const morvex_request& request, const Error& failure) {
  if (failure.path().empty()) return true;
  // A request for all components has several datasets; an error code ends the list.
  for (std::uint64_t index = 0;; ++index) {
    std::string path(failure.path().size() + 1, '\0');
    std::uint64_t needed = 0;
    const morvex_code code =
        morvex_get_path(file.handle(), &request, index, path.data(), path.size(), &needed);
    if (code != MORVEX_OK && code != MORVEX_TOO_SMALL) return false;
    if (code == MORVEX_OK && path.c_str() == failure.path()) return true;
  }
}

}  // namespace

bool isAbsent(const File& file, const ArrayResult& result) {
  const morvex_request& asked = result.id.request;
  if (!result.failure || result.id.kind == ArrayKind::kConstants) return false;
  if (asked.kind != MORVEX_VARIABLE) return false;  // all of the geometry must be there
  if (result.failure->code() == MORVEX_NOT_DEFINED) return true;
  // A dataset that the values depend on must be there as well.
  return result.failure->code() == MORVEX_NO_SUCH_DATA && isOwn(file, asked, *result.failure);
}

void catchInterrupts() {
  struct sigaction action {};
  action.sa_handler = [](int) { interrupted = true; };
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  ::sigaction(SIGINT, &action, nullptr);
}

bool isInterrupted() noexcept {
  return interrupted;
}

void BatchReader::add(const ArrayId& array, Receive receive, double place) {
  Item item{.array = array, .receive = std::move(receive), .size = {}, .failure = {}, .action = {}};
  try {
    item.size = sizeOf(file_, array);
  } catch (const Error& reason) {
    item.failure = std::make_unique<Error>(reason);
  }
  // A file may have millions of arrays without values.
  constexpr std::size_t kItemSize = sizeof(Item) + sizeof(morvex_request);
  const std::size_t bytes = roundedUp(item.size.bytes());
  const std::size_t taken = batch_.used + batch_.items.size() * kItemSize;
  if (!batch_.items.empty() && taken + bytes + kItemSize > kRoom) read();
  batch_.items.push_back(std::move(item));
  batch_.used += bytes;
  batch_.place = place;
}

void BatchReader::then(std::function<void()> action) {
  batch_.items.push_back(
      {.array = {}, .receive = {}, .size = {}, .failure = {}, .action = std::move(action)});
}

void BatchReader::read() {
  if (batch_.items.empty()) return;
  try {
    readBatch();
    if (!isConcurrent_) return receive(batch_);
    waitForReceived();
    std::swap(batch_, received_);
    receiving_ = std::async(std::launch::async, [this] { receive(received_); });
  } catch (...) {
    stop();
    throw;
  }
}

void BatchReader::finish() {
  read();
  waitForReceived();
}

void BatchReader::stop() noexcept {
  if (receiving_.valid()) receiving_.wait();
  receiving_ = {};
}

void BatchReader::waitForReceived() {
  if (receiving_.valid()) receiving_.get();
}

// The memory is kept from batch to batch: fresh pages cost a fault each.
bool BatchReader::makeRoom() {
  const std::size_t wanted = std::max<std::size_t>(batch_.used, 1);
  if (wanted <= batch_.capacity) return true;
  // Before the new block: both would be twice the largest array. Beside a very large one there is no
  // other batch for the same reason.
  batch_.memory.reset();
  batch_.capacity = 0;
  if (wanted > kRoom) {
    waitForReceived();
    received_.memory.reset();
    received_.capacity = 0;
  }
  batch_.memory.reset(new (std::nothrow) std::byte[wanted]);
  if (!batch_.memory) return false;
  batch_.capacity = wanted;
  return true;
}

void BatchReader::readBatch() {
  std::vector<morvex_request> requests;
  requested_.clear();
  const bool hasRoom = makeRoom();
  std::byte* target = batch_.memory.get();
  for (std::size_t i = 0; i < batch_.items.size(); ++i) {
    Item& item = batch_.items[i];
    if (item.action) continue;
    // All arrays of this batch fail; the next one may be smaller and fit.
    if (!hasRoom) {
      const morvex_error error{MORVEX_OUT_OF_MEMORY, -1, -1, "", "not enough memory"};
      item.failure = std::make_unique<Error>(error);
    } else if (item.array.kind == ArrayKind::kConstants) {
      // A number of the metadata, which the library has no request for.
      const morvex_request& asked = item.array.request;
      try {
        const float value = file_.constant(asked.variable, asked.step);
        std::memcpy(target, &value, sizeof value);
      } catch (const Error& reason) {
        item.failure = std::make_unique<Error>(reason);
      }
    } else if (!item.failure) {
      requests.push_back(item.array.request);
      requests.back().target = target;
      requests.back().capacity = item.size.count;
      requested_.push_back(i);
    }
    target += roundedUp(item.size.bytes());
  }
  morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
  options.progress = onProgress;
  options.failed = onFailure;
  options.user = this;
  if (file_.read(requests, options) == MORVEX_CANCELLED) throw Interrupted{};
  for (const Item& item : batch_.items) bytes_ += item.size.bytes();
  place_ = batch_.place;
}

// In the order in which they were added, not that in which the library finished them.
void BatchReader::receive(Batch& batch) {
  const std::byte* target = batch.memory.get();
  for (const Item& item : batch.items) {
    if (isInterrupted()) throw Interrupted{};
    if (item.action) {
      item.action();
      continue;
    }
    const Error* failure = item.failure.get();
    item.receive({item.array, {target, failure ? 0 : item.size.bytes()}, failure});
    target += roundedUp(item.size.bytes());
  }
  batch.items.clear();
  batch.used = 0;
}

std::int32_t BatchReader::onProgress(void* self, std::uint64_t done, std::uint64_t total,
                                     std::uint64_t bytes) {
  const auto& reader = *static_cast<BatchReader*>(self);
  const double part = total == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(total);
  const double place = reader.place_ + part * (reader.batch_.place - reader.place_);
  return reader.progress_(place, reader.bytes_ + bytes) ? 0 : 1;
}

void BatchReader::onFailure(void* self, std::uint64_t index, const morvex_error* error) {
  auto& reader = *static_cast<BatchReader*>(self);
  const std::size_t item = reader.requested_[static_cast<std::size_t>(index)];
  reader.batch_.items[item].failure = std::make_unique<Error>(*error);
}

}  // namespace morvex::tools
