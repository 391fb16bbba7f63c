#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvex::tools {

/// Rows of text in aligned columns. A heading that begins with '>' aligns its column to the right.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> headings);

  /// Cells beyond the headings are dropped, missing ones are empty.
  void row(std::vector<std::string> cells);
  [[nodiscard]] bool empty() const noexcept { return rows_.empty(); }

  /// The lines of the rows so far, without those taken before; the headings precede the first ones.
  /// For tables of any length: columns are as wide as what they have had.
  [[nodiscard]] std::string take();

  /// Each line begins with two blanks and ends with a newline. Where `width` is not 0, columns of
  /// text are shortened until lines fit, as far as that goes.
  [[nodiscard]] std::string text(std::size_t width = 0) const;

 private:
  [[nodiscard]] std::vector<std::size_t> widths(std::size_t width) const;
  [[nodiscard]] std::string line(const std::vector<std::string>& cells,
                                 const std::vector<std::size_t>& columns) const;

  std::vector<std::string> headings_;
  std::vector<bool> toTheRight_;
  std::vector<std::vector<std::string>> rows_;
  std::vector<std::size_t>
      taken_;  ///< widths of the columns of taken rows; empty if there were none
};

/// A text from a file made fit for one line: control characters become '?'.
[[nodiscard]] std::string shownText(std::string text);

/// The shortest text that reads back as the same number, whatever the locale.
[[nodiscard]] std::string numberText(float value);
[[nodiscard]] std::string numberText(double value);

/// A size in bytes for people, for example "12.4 MiB".
[[nodiscard]] std::string sizeText(std::uint64_t bytes);

/// How many times `stored` goes into `decoded`, for example "2.82"; "-" if nothing is stored.
[[nodiscard]] std::string ratioText(std::uint64_t decoded, std::uint64_t stored);

/// 16 hexadecimal digits.
[[nodiscard]] std::string digestText(std::uint64_t digest);

}  // namespace morvex::tools
