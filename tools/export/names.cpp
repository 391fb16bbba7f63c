#include "export/names.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "common/text_table.hpp"

namespace morvex::tools {
namespace {

/// Bytes of the character that begins a text of UTF-8; 0 if none does.
std::size_t characterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(0);
  const std::size_t length = lead < 0x80U                    ? 1
                             : lead >= 0xC2U && lead < 0xE0U ? 2
                             : lead >= 0xE0U && lead < 0xF0U ? 3
                             : lead >= 0xF0U && lead < 0xF5U ? 4
                                                             : 0;
  if (length == 0 || length > text.size()) return 0;
  unsigned code = length == 1 ? lead : lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80U) return 0;
    code = code << 6U | (byte(i) & 0x3FU);
  }
  // Overlong encodings and surrogates are invalid.
  constexpr std::array<unsigned, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = code >= 0xD800U && code < 0xE000U;
  return code < kLeast[length] || code > 0x10FFFFU || isSurrogate ? 0 : length;
}

/// Adds "(part 3)" and the like. All of several equal names get it: none of them is the right one.
std::vector<std::string> distinct(std::vector<std::string> names, const char* what) {
  std::map<std::string, int> counts;
  for (std::string& name : names) {
    name = cleanText(name);
    ++counts[name];
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!names[i].empty() && counts[names[i]] == 1) continue;
    const std::string number = std::string("(") + what + " " + std::to_string(i) + ")";
    names[i] = names[i].empty() ? number : names[i] + " " + number;
  }
  return names;
}

}  // namespace

std::vector<std::string> partLabels(const std::vector<morvex_part>& parts) {
  std::vector<std::string> names;
  for (const morvex_part& part : parts) names.emplace_back(part.name);
  return distinct(std::move(names), "part");
}

std::vector<std::string> variableLabels(const std::vector<morvex_variable>& variables) {
  std::vector<std::string> names;
  for (const morvex_variable& variable : variables) names.emplace_back(variable.name);
  return distinct(std::move(names), "variable");
}

std::string imaginaryName(const morvex_variable& variable, const std::string& label) {
  const std::string own = cleanText(variable.imaginary_name);
  return own.empty() || own == label ? label + " (imaginary)" : own;
}

std::vector<std::string> imaginaryLabels(const std::vector<morvex_variable>& variables,
                                         const std::vector<std::string>& labels) {
  std::multiset<std::string> all(labels.begin(), labels.end());
  for (std::size_t i = 0; i < variables.size(); ++i) {
    if (variables[i].is_complex != 0) all.insert(imaginaryName(variables[i], labels[i]));
  }
  std::vector<std::string> names;
  for (std::size_t i = 0; i < variables.size(); ++i) {
    const std::string own = imaginaryName(variables[i], labels[i]);
    names.push_back(all.count(own) > 1 ? labels[i] + " (imaginary)" : own);
  }
  return names;
}

std::string cleanText(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    clean += length == 0 ? "?" : text.substr(0, length);
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return shownText(clean);
}

std::string paddedNumber(std::size_t number) {
  constexpr std::size_t kDigits = 4;
  const std::string digits = std::to_string(number);
  return std::string(kDigits - std::min(kDigits, digits.size()), '0') + digits;
}

}  // namespace morvex::tools
