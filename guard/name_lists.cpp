#include "name_lists.hpp"

#include <new>

namespace morvex::guard {
namespace {

/// No file has longer names.
constexpr std::size_t kLongestName = 1048576;

}  // namespace

NameLists::NameLists(std::size_t lists, std::size_t count, const Fill& fill) : count_(count) {
  std::string shared(kLongestName + 1, '\1');
  std::vector<std::vector<char*>> targets(lists, std::vector<char*>(count, shared.data()));
  fill(targets, /*isSecond=*/false);
  const std::size_t lastZero = shared.rfind('\0');
  stride_ = lastZero == std::string::npos ? 1 : lastZero + 1;
  if (count != 0 && stride_ > texts_.max_size() / count / lists) throw std::bad_alloc();
  texts_.assign(lists * count * stride_, '\0');
  for (std::size_t k = 0; k < lists * count; ++k) {
    targets[k / count][k % count] = texts_.data() + k * stride_;
  }
  fill(targets, /*isSecond=*/true);
}

std::string NameLists::at(std::size_t list, std::size_t index) const {
  return texts_.data() + (list * count_ + index) * stride_;
}

}  // namespace morvex::guard
