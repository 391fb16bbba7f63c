#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvex::tools {

/// Rows of text in aligned columns. Columns whose heading begins with '>' stand to the right.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> headings);

  /// Cells beyond the headings are dropped, missing ones are empty.
  void row(std::vector<std::string> cells);
  [[nodiscard]] bool empty() const noexcept { return rows_.empty(); }

  /// Each line begins with two blanks and ends with a newline.
  [[nodiscard]] std::string text() const;

 private:
  std::vector<std::string> headings_;
  std::vector<bool> toTheRight_;
  std::vector<std::vector<std::string>> rows_;
};

/// A text from a file as it can be shown in a line: control characters become '?'.
[[nodiscard]] std::string shownText(std::string text);

/// The shortest text that reads back as the same number, whatever the locale.
[[nodiscard]] std::string numberText(float value);
[[nodiscard]] std::string numberText(double value);

/// A size in bytes for people, for example "12.4 MiB".
[[nodiscard]] std::string sizeText(std::uint64_t bytes);

/// 16 hexadecimal digits.
[[nodiscard]] std::string digestText(std::uint64_t digest);

}  // namespace morvex::tools
