#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvex::tools {

/// Rows of text in aligned columns. A heading that begins with '>' aligns its column to the right.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> headings);

  /// Cells beyond the headings are dropped, missing ones are empty. Texts of files have to be passed
  /// through shownText(): a newline would break the table.
  void row(std::vector<std::string> cells);
  [[nodiscard]] bool empty() const noexcept { return rows_.empty(); }

  /// The lines of the rows since the last call; the headings precede the first ones. For tables of
  /// any length: a column is as wide as its widest cell so far, and may become wider at each call.
  /// Nothing is shortened; where `width` is not 0, a last cell beyond it has a line of its own.
  [[nodiscard]] std::string take(std::size_t width);

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
  /// Widths of the columns of the rows that were taken; empty if none were.
  std::vector<std::size_t> taken_;
};

/// A text from a file made fit for one line: control characters become '?'.
[[nodiscard]] std::string shownText(std::string text);

/// A line broken at blanks into lines of up to `width` columns; words that are wider stay whole. The
/// lines after the first begin with `indent` blanks. A width of 0 breaks nothing.
[[nodiscard]] std::string wrapped(const std::string& line, std::size_t width, std::size_t indent);

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
