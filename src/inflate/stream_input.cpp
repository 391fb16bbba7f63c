#include "inflate/stream_input.hpp"

#include <algorithm>
#include <cstring>

namespace Kelbor::Inflate {

std::span<const std::byte> StreamInput::ahead(std::uint64_t wanted) noexcept {
  const std::uint64_t within = std::min<std::uint64_t>({wanted, unread(), window_.size()});
  if (!fetch_ || held_.size() >= within) return held_;
  if (!held_.empty()) std::memmove(window_.data(), held_.data(), held_.size());
  const std::uint64_t count = std::min<std::uint64_t>(unread(), window_.size());
  const auto missing =
      window_.subspan(held_.size(), static_cast<std::size_t>(count) - held_.size());
  const bool fetched = fetch_(position_ + held_.size(), missing);
  held_ = window_.first(held_.size() + (fetched ? missing.size() : 0));
  return held_;
}

void StreamInput::consume(std::uint64_t count) noexcept {
  position_ += count;
  held_ = held_.subspan(static_cast<std::size_t>(count));
}

void StreamInput::rewind() noexcept {
  if (fetch_) {
    held_ = {};
  } else {
    held_ = {held_.data() - position_, static_cast<std::size_t>(size_)};
  }
  position_ = 0;
}

}  // namespace Kelbor::Inflate
