#include "reading.hpp"

#include <algorithm>
#include <cstring>

namespace morvex::guard {
namespace {

/// FNV-1a over the bytes.
std::uint64_t hashOf(std::span<const std::byte> bytes) noexcept {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const std::byte byte : bytes) {
    hash = (hash ^ static_cast<std::uint64_t>(byte)) * 0x100000001B3U;
  }
  return hash;
}

/// The library doesn't say at which of several datasets a question has failed. Those before it are
/// filled whatever the memory held, the first that isn't is the one.
std::size_t failedTarget(const std::vector<Target>& targets, const std::function<int()>& question) {
  std::vector<std::uint64_t> first;
  for (const std::byte content : {std::byte{0}, std::byte{0xFF}}) {
    for (const Target& target : targets) std::ranges::fill(target, content);
    try {
      (void)question();
    } catch (...) {  // known already
    }
    for (std::size_t k = 0; k < targets.size(); ++k) {
      if (content == std::byte{0}) {
        first.push_back(hashOf(targets[k]));
      } else if (hashOf(targets[k]) != first[k]) {
        return k;
      }
    }
  }
  return 0;
}

void findFailed(Call& call, const std::vector<Target>& targets,
                const std::function<int()>& question) {
  if (targets.size() < 2) return;
  copyLine(call.session.paths.at(failedTarget(targets, question)).c_str(), call.error.dataset);
}

/// Whether it is worth the time to ask again. A question that ran out of memory would do so again.
bool mayAskAgain(mxg_code code) noexcept {
  return code != MXG_OUT_OF_MEMORY && code != MXG_NO_SUCH_DATA;
}

}  // namespace

void requirePointer(const void* pointer, const char* what) {
  if (!pointer) refuse(MXG_NULL_POINTER, std::string(what) + " is NULL");
}

bool wantsValues(const void* buffer, std::uint64_t capacity, std::uint64_t size,
                 std::uint64_t* count) {
  requirePointer(count, "count");
  *count = size;
  if (!buffer && capacity == 0) return false;
  requirePointer(buffer, "the buffer");
  if (capacity < size) {
    refuse(MXG_BUFFER_TOO_SMALL, "the buffer takes " + std::to_string(capacity) +
                                     " elements, the answer has " + std::to_string(size));
  }
  return true;
}

void giveText(const std::string& text, char* buffer, std::uint64_t capacity, std::uint64_t* count) {
  if (wantsValues(buffer, capacity, text.size() + 1, count)) {
    std::memcpy(buffer, text.c_str(), text.size() + 1);
  }
}

void nameDatasets(Call& call, const std::string& group, const std::vector<std::string>& names) {
  call.session.paths.clear();
  for (const std::string& name : names) call.session.paths.push_back(group + "/" + name);
  copyLine(call.session.paths.at(0).c_str(), call.error.dataset);
}

void readDatasets(Call& call, const std::vector<Target>& targets,
                  const std::function<int()>& question) {
  Walk& walk = call.session.walk;
  if (walk.isCancelled()) refuse(MXG_CANCELLED, "cancelled");
  int status = 0;
  try {
    status = question();
    if (status < 0) refuse(MXG_REFUSED, "refused");
  } catch (...) {
    walk.advance(0);
    if (mayAskAgain(codeOfFailure())) findFailed(call, targets, question);
    throw;
  }
  if (status > 0) {
    walk.advance(0);
    refuse(MXG_NOT_DEFINED, "the variable is not defined on the part");
  }
  std::uint64_t bytes = 0;
  for (const Target& target : targets) bytes += target.size();
  walk.advance(bytes);
}

}  // namespace morvex::guard
