#include "walk.hpp"

#include <utility>

namespace morvex::guard {

void Walk::begin(std::uint64_t total, mxg_progress progress, void* user) noexcept {
  *this = {};
  progress_ = progress;
  user_ = user;
  total_ = total;
  tell();
}

bool Walk::end() noexcept {
  return std::exchange(*this, Walk{}).isCancelled_;
}

void Walk::advance(std::uint64_t bytes) noexcept {
  ++done_;
  bytes_ += bytes;
  tell();
}

void Walk::tell() noexcept {
  if (!progress_ || isCancelled_) return;
  try {
    isCancelled_ = progress_(user_, done_, total_, bytes_) != 0;
  } catch (...) {  // a caller in C++ that can't go on
    isCancelled_ = true;
  }
}

}  // namespace morvex::guard
