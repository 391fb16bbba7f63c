#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "call.hpp"

namespace morvex::guard {

void requirePointer(const void* pointer, const char* what);

/// For a caller's buffer that is to take `size` elements: sets the count, and is true if there is a
/// buffer to fill, false if the count alone was asked for. Refuses one that is too small.
[[nodiscard]] bool wantsValues(const void* buffer, std::uint64_t capacity, std::uint64_t size,
                               std::uint64_t* count);

/// Copies a text with its zero into a caller's buffer, or tells its size alone.
void giveText(const std::string& text, char* buffer, std::uint64_t capacity, std::uint64_t* count);

/// Says which datasets will be read; from then on an error is about the first of them.
void nameDatasets(Call& call, const std::string& group, const std::vector<std::string>& names);

/// A caller's buffer, checked to hold the values of one dataset.
using Target = std::span<std::byte>;

template <class T>
[[nodiscard]] Target targetOf(T* buffer, std::uint64_t count) noexcept {
  return std::as_writable_bytes(std::span(buffer, static_cast<std::size_t>(count)));
}

/// Has the library fill the targets, one for each named dataset, and tells the walk. A failure is
/// about the first dataset that was not filled. MXG_REFUSED for an answer below 0, MXG_NOT_DEFINED
/// for one above.
void readDatasets(Call& call, const std::vector<Target>& targets,
                  const std::function<int()>& question);

}  // namespace morvex::guard
