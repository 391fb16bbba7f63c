#include "common/text_table.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <string_view>
#include <utility>

namespace morvex::tools {
namespace {

/// Columns that a text occupies: UTF-8 continuation bytes occupy none.
std::size_t widthOf(const std::string& text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

/// The text, or as much of its beginning as fits with three dots.
std::string shortened(const std::string& text, std::size_t width) {
  if (widthOf(text) <= width) return text;
  constexpr std::string_view kDots = "...";
  std::string cut;
  std::size_t columns = 0;
  for (const char c : text) {
    // Counted at the first byte of a character, so that none is cut in its middle.
    columns += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
    if (columns + kDots.size() > width) break;
    cut += c;
  }
  return cut.append(kDots);
}

/// The fewest digits that read back as the same number; with an exponent only below 0.0001 and from 1e9
/// on.
template <class T>
std::string shortestText(T value) {
  std::array<char, 48> digits{};
  // By length alone 0.0003 would be 3e-04 in a column with 0.0015.
  const T size = std::abs(value);
  const bool isPlain = value == 0 || (size >= T(1e-4) && size < T(1e9));
  const auto end = isPlain ? std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                           std::chars_format::fixed)
                           : std::to_chars(digits.data(), digits.data() + digits.size(), value);
  return std::string(digits.data(), end.ptr);
}

}  // namespace

TextTable::TextTable(std::vector<std::string> headings) : headings_(std::move(headings)) {
  for (std::string& heading : headings_) {
    toTheRight_.push_back(heading.starts_with('>'));
    if (toTheRight_.back()) heading.erase(0, 1);
  }
}

void TextTable::row(std::vector<std::string> cells) {
  cells.resize(headings_.size());
  rows_.push_back(std::move(cells));
}

std::vector<std::size_t> TextTable::widths(std::size_t width) const {
  std::vector<std::size_t> widths;
  for (const std::string& heading : headings_) widths.push_back(widthOf(heading));
  for (const auto& cells : rows_) {
    for (std::size_t k = 0; k < cells.size(); ++k)
      widths[k] = std::max(widths[k], widthOf(cells[k]));
  }
  if (width == 0) return widths;
  // The last column of text gives way first: descriptions and lists can spare most. Then the widest
  // one does, place by place. Numbers are never shortened: without its last digits a number is
  // another number.
  constexpr std::size_t kNarrowest = 8;
  constexpr std::size_t kNarrowestLast = 12;
  const auto total = [&] {  // with two blanks before each column
    return std::accumulate(widths.begin(), widths.end(), 2 * widths.size());
  };
  while (total() > width) {
    if (!toTheRight_.back() && widths.back() > kNarrowestLast) {
      --widths.back();
      continue;
    }
    std::size_t widest = widths.size();
    for (std::size_t k = 0; k < widths.size(); ++k) {
      const bool mayShrink = !toTheRight_[k] && widths[k] > kNarrowest;
      if (mayShrink && (widest == widths.size() || widths[k] > widths[widest])) widest = k;
    }
    if (widest == widths.size()) break;
    --widths[widest];
  }
  return widths;
}

std::string TextTable::line(const std::vector<std::string>& cells,
                            const std::vector<std::size_t>& columns) const {
  std::string line = "  ";
  for (std::size_t k = 0; k < cells.size(); ++k) {
    const std::string cell = shortened(cells[k], columns[k]);
    const std::string gap(columns[k] - widthOf(cell), ' ');
    line += toTheRight_[k] ? gap + cell : cell + gap;
    line += "  ";
  }
  line.erase(line.find_last_not_of(' ') + 1);  // no blanks at the end, which editors mark
  return line + "\n";
}

std::string TextTable::take(std::size_t width) {
  std::vector<std::size_t> columns = widths(0);
  std::string text;
  if (taken_.empty()) {
    text = line(headings_, columns);
  } else {
    std::ranges::transform(columns, taken_, columns.begin(),
                           [](std::size_t a, std::size_t b) { return std::max(a, b); });
  }
  const std::size_t last = headings_.size() - 1;
  const std::size_t first =
      std::accumulate(columns.begin(), columns.end() - 1, 2 * columns.size());  // of the last cell
  for (auto& cells : rows_) {
    if (width == 0 || first + widthOf(cells[last]) <= width) {
      text += line(cells, columns);
      continue;
    }
    const std::string own = "    " + std::exchange(cells[last], "") + "\n";
    text += line(cells, columns) + own;
  }
  rows_.clear();  // memory stays bounded, whatever the length of the table
  taken_ = std::move(columns);
  return text;
}

std::string TextTable::text(std::size_t width) const {
  const std::vector<std::size_t> columns = widths(width);
  std::string text = line(headings_, columns);
  for (const auto& cells : rows_) text += line(cells, columns);
  return text;
}

std::string shownText(std::string text) {
  for (char& c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x20U || code == 0x7FU) c = '?';
  }
  return text;
}

std::string wrapped(const std::string& line, std::size_t width, std::size_t indent) {
  if (width == 0) return line;
  std::string text;
  std::size_t column = 0;
  for (std::size_t at = 0; at < line.size();) {
    // A word with the blanks before it, which are dropped where a line is broken.
    const std::size_t word = std::min(line.find_first_not_of(' ', at), line.size());
    const std::size_t end = std::min(line.find(' ', word), line.size());
    const std::size_t wordWidth = widthOf(line.substr(word, end - word));
    if (at > 0 && column + (word - at) + wordWidth > width) {
      text += "\n" + std::string(indent, ' ') + line.substr(word, end - word);
      column = indent + wordWidth;
    } else {
      text += line.substr(at, end - at);
      column += (word - at) + wordWidth;
    }
    at = end;
  }
  return text;
}

std::string numberText(float value) {
  return shortestText(value);
}

std::string numberText(double value) {
  return shortestText(value);
}

std::string sizeText(std::uint64_t bytes) {
  // Powers of 1024, as operating systems count memory.
  static constexpr std::array<const char*, 5> kUnits{"B", "KiB", "MiB", "GiB", "TiB"};
  auto size = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (size >= 1024.0 && unit + 1 < kUnits.size()) {
    size /= 1024.0;
    ++unit;
  }
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", size, kUnits[unit]);
  return text.data();
}

std::string ratioText(std::uint64_t decoded, std::uint64_t stored) {
  if (stored == 0) return "-";
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%.2f",
                static_cast<double>(decoded) / static_cast<double>(stored));
  return text.data();
}

std::string digestText(std::uint64_t digest) {
  std::array<char, 17> text{};
  std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(digest));
  return text.data();
}

}  // namespace morvex::tools
