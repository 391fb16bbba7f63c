#include "common/batch_reader.hpp"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <new>

namespace morvex::tools {
namespace {

volatile std::sig_atomic_t interrupted = 0;

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
  action.sa_handler = [](int) { interrupted = 1; };
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  ::sigaction(SIGINT, &action, nullptr);
}

bool isInterrupted() noexcept {
  return interrupted != 0;
}

void BatchReader::add(const ArrayId& array) {
  std::unique_ptr<Error> failure;
  ArraySize size;
  try {
    size = sizeOf(file_, array);
  } catch (const Error& reason) {
    failure = std::make_unique<Error>(reason);
  }
  const std::size_t bytes = size.bytes();
  if (!batch_.empty() && used_ + roundedUp(bytes) > room_) flush();
  batch_.push_back(array);
  sizes_.push_back(size);
  failures_.push_back(std::move(failure));
  used_ += roundedUp(bytes);
}

// The memory is kept from batch to batch: fresh pages cost a fault each.
bool BatchReader::makeRoom() {
  const std::size_t wanted = std::max<std::size_t>(used_, 1);
  if (wanted <= capacity_) return true;
  memory_.reset();  // before the new block: both would be twice the largest array
  capacity_ = 0;
  memory_.reset(new (std::nothrow) std::byte[wanted]);
  if (!memory_) return false;
  capacity_ = wanted;
  return true;
}

void BatchReader::flush() {
  std::vector<morvex_request> requests;
  requested_.clear();
  const bool hasRoom = makeRoom();
  std::byte* target = memory_.get();
  for (std::size_t i = 0; i < batch_.size(); ++i) {
    // All arrays of this batch fail; the next one may be smaller and fit.
    if (!hasRoom) {
      const morvex_error error{MORVEX_OUT_OF_MEMORY, -1, -1, "", "not enough memory"};
      failures_[i] = std::make_unique<Error>(error);
    } else if (batch_[i].kind == ArrayKind::kConstants) {
      // A number of the metadata, which the library has no request for.
      const morvex_request& asked = batch_[i].request;
      try {
        const float value = file_.constant(asked.variable, asked.step);
        std::memcpy(target, &value, sizeof value);
      } catch (const Error& reason) {
        failures_[i] = std::make_unique<Error>(reason);
      }
    } else if (!failures_[i]) {
      requests.push_back(batch_[i].request);
      requests.back().target = target;
      requests.back().capacity = sizes_[i].count;
      requested_.push_back(i);
    }
    target += roundedUp(sizes_[i].bytes());
  }
  morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
  options.progress = onProgress;
  options.failed = onFailure;
  options.user = this;
  if (file_.read(requests, options) == MORVEX_CANCELLED) throw Interrupted{};
  // In the order in which they were added, not that in which the library finished them.
  target = memory_.get();
  for (std::size_t i = 0; i < batch_.size(); ++i) {
    const Error* failure = failures_[i].get();
    receive_({batch_[i], {target, failure ? 0 : sizes_[i].bytes()}, failure});
    target += roundedUp(sizes_[i].bytes());
    bytes_ += sizes_[i].bytes();
  }
  batch_.clear();
  sizes_.clear();
  failures_.clear();
  used_ = 0;
}

std::int32_t BatchReader::onProgress(void* self, std::uint64_t done, std::uint64_t total,
                                     std::uint64_t bytes) {
  const auto& reader = *static_cast<BatchReader*>(self);
  const double part = total == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(total);
  return reader.progress_(part, reader.bytes_ + bytes) ? 0 : 1;
}

void BatchReader::onFailure(void* self, std::uint64_t index, const morvex_error* error) {
  auto& reader = *static_cast<BatchReader*>(self);
  reader.failures_[reader.requested_[static_cast<std::size_t>(index)]] =
      std::make_unique<Error>(*error);
}

}  // namespace morvex::tools
