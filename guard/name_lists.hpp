#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace morvex::guard {

/// Lists of strings that the library fills. It tells no width for them, and room for the longest
/// possible name in each would be a megabyte for each part. So the same question is asked twice:
/// first with one buffer for all strings, in which the last zero is the end of the longest, then
/// with strings of that length.
class NameLists {
 public:
  /// Asks the library: gets an array of pointers for each list, and whether it is the second time.
  using Fill = std::function<void(std::vector<std::vector<char*>>& lists, bool isSecond)>;

  /// `count` strings in each list.
  NameLists(std::size_t lists, std::size_t count, const Fill& fill);

  [[nodiscard]] std::string at(std::size_t list, std::size_t index) const;

 private:
  std::size_t count_;
  std::size_t stride_ = 1;
  std::vector<char> texts_;
};

}  // namespace morvex::guard
