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

}  // namespace

bool isAbsent(const File& file, const ArrayResult& result) {
  if (!result.failure || result.id.kind != ArrayKind::kVariables) return false;
  if (result.failure->code() != MORVEX_NO_SUCH_DATA) return false;
  // A dataset that it depends on must be there.
  return result.failure->path().empty() || result.failure->path() == pathOf(file, result.id);
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
  std::size_t bytes = 0;
  try {
    bytes = static_cast<std::size_t>(sizeOf(file_, array).bytes());
  } catch (const Error& reason) {
    failure = std::make_unique<Error>(reason);
  }
  if (!batch_.empty() && used_ + roundedUp(bytes) > room_) flush();
  batch_.push_back(array);
  sizes_.push_back(bytes);
  failures_.push_back(std::move(failure));
  used_ += roundedUp(bytes);
}

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
    if (!hasRoom) {
      const morvex_error error{MORVEX_OUT_OF_MEMORY, -1, -1, "", "not enough memory"};
      failures_[i] = std::make_unique<Error>(error);
    } else if (batch_[i].kind == ArrayKind::kConstants) {
      const morvex_request& asked = batch_[i].request;
      const float value = file_.constant(asked.variable, asked.step);
      std::memcpy(target, &value, sizeof value);
    } else if (!failures_[i]) {
      requests.push_back(batch_[i].request);
      requests.back().target = target;
      requests.back().capacity = sizes_[i];  // at least as many values
      requested_.push_back(i);
    }
    target += roundedUp(sizes_[i]);
  }
  morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
  options.progress = onProgress;
  options.failed = onFailure;
  options.user = this;
  if (file_.read(requests, options) == MORVEX_CANCELLED) throw Interrupted{};
  target = memory_.get();
  for (std::size_t i = 0; i < batch_.size(); ++i) {
    const Error* failure = failures_[i].get();
    receive_({batch_[i], {target, failure ? 0 : sizes_[i]}, failure});
    target += roundedUp(sizes_[i]);
    bytes_ += sizes_[i];
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
