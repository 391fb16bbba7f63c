#pragma once

#include <locale>
#include <string>

namespace morvex {

/// Sets a global locale with grouped digits and a decimal comma during its lifetime, as many
/// desktop programs do.
class GroupingHost {
 public:
  GroupingHost()
      : before_(std::locale::global(std::locale(std::locale::classic(), new Grouping))) {}
  ~GroupingHost() { std::locale::global(before_); }
  GroupingHost(const GroupingHost&) = delete;
  GroupingHost& operator=(const GroupingHost&) = delete;

 private:
  struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  std::locale before_;
};

}  // namespace morvex
