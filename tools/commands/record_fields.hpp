#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "common/output.hpp"
#include "common/text_table.hpp"

namespace morvex::tools {

/// A number, a text in quotes, or a row of numbers in brackets.
template <class T>
std::string valueText(const T& value) {
  if constexpr (std::is_same_v<T, float>) {
    return numberText(value);
  } else if constexpr (std::is_same_v<T, std::string>) {
    return "\"" + shownText(value) + "\"";
  } else if constexpr (std::is_arithmetic_v<T>) {
    return std::to_string(value);
  } else {  // a row of numbers without the zeros at its end
    std::size_t size = value.size();
    while (size > 1 && value[size - 1] == 0) --size;
    std::string text = "[";
    for (std::size_t k = 0; k < size; ++k) text += (k == 0 ? "" : " ") + valueText(value[k]);
    return text + (size < value.size() ? " 0...]" : "]");
  }
}

/// Fields of one record as lines "name  value".
class Fields {
 public:
  /// `limit`: elements of a list that are shown.
  explicit Fields(std::size_t limit) : limit_(limit) {}

  /// A field of one value.
  template <class T>
  void one(const std::string& name, const T& value) {
    add(name, valueText(value));
  }

  /// A field whose value is described in words.
  void text(const std::string& name, const std::string& words) { add(name, words); }

  /// A field of several values, cut after `limit_` of them with their number.
  template <class Range>
  void list(const std::string& name, const Range& values) {
    std::string words;
    std::size_t shown = 0;
    for (auto&& value : values) {
      if (shown++ == limit_) {
        words += " ... (" + std::to_string(values.size()) + " values)";
        break;
      }
      using Value = std::decay_t<decltype(value)>;
      words += shown == 1 ? "" : ", ";
      // Flags have no element type of their own; bytes are numbers here, not characters.
      if constexpr (std::is_same_v<Range, std::vector<bool>>) {
        words += value ? "1" : "0";
      } else if constexpr (std::is_same_v<Value, std::uint8_t>) {
        words += std::to_string(value);
      } else {
        words += valueText(value);
      }
    }
    add(name, words.empty() ? "-" : words);
  }

  [[nodiscard]] const std::string& lines() const noexcept { return lines_; }

 private:
  void add(const std::string& name, const std::string& words) {
    constexpr std::size_t kColumn = 26;  // of the values; longer names push theirs to the right
    const std::string gap(name.size() < kColumn ? kColumn - name.size() : 1, ' ');
    lines_ += wrapped("    " + name + gap + words, terminalWidth(), 8) + "\n";
  }

  std::size_t limit_;
  std::string lines_;
};

}  // namespace morvex::tools
