#pragma once

#include <morvex/morvex.h>

#include <string>
#include <string_view>
#include <vector>

namespace morvex::tools {

/// Names of parts, made distinct: a number is added to those that are empty or repeated.
[[nodiscard]] std::vector<std::string> partLabels(const std::vector<morvex_part>& parts);
/// The same of variables.
[[nodiscard]] std::vector<std::string> variableLabels(
    const std::vector<morvex_variable>& variables);
/// Name of the imaginary part of a variable with such a label.
[[nodiscard]] std::string imaginaryName(const morvex_variable& variable, const std::string& label);

/// Names of the imaginary parts of variables, distinct from each other and from `labels`, which are those
/// of all variables. For variables that are not complex they have no meaning.
[[nodiscard]] std::vector<std::string> imaginaryLabels(
    const std::vector<morvex_variable>& variables, const std::vector<std::string>& labels);

/// The text as UTF-8 in one line: "?" for bytes that are none and for control characters.
[[nodiscard]] std::string cleanText(std::string_view text);

/// A number with zeros in front, at least four digits.
[[nodiscard]] std::string paddedNumber(std::size_t number);

}  // namespace morvex::tools
