#include "reader/api/messages.hpp"

#include <mutex>
#include <string_view>

namespace morvex::Api {
namespace {

/// The line without its level.
std::string_view withoutPrefix(std::string_view line) {
  for (const std::string_view prefix : {"WARNING: ", "ERROR: ", "FATAL: "}) {
    if (line.starts_with(prefix)) return line.substr(prefix.size());
  }
  return line;
}

/// The part of an error line for people: without the class and the empty place that exceptions add.
std::string_view reasonIn(std::string_view line) {
  line = withoutPrefix(line);
  for (const std::string_view type : {"Exception: ", "KelborDataException: ",
                                      "MemoryAllocationException: ", "TypeMismatchException: "}) {
    if (line.starts_with(type)) line.remove_prefix(type.size());
  }
  line = line.substr(0, line.rfind(" @<file>"));
  while (line.starts_with(": ") || line.starts_with(" ")) line.remove_prefix(1);
  if (line.starts_with(":")) line.remove_prefix(1);
  return line;
}

}  // namespace

void CallMessages::write(Kelbor::LogLevel level, std::string_view piece) noexcept {
  try {
    const std::lock_guard guard(lock_);
    line_ += piece;
    if (!line_.ends_with('\n')) return;
    line_.pop_back();
    if (level >= Kelbor::LogLevel::kError && firstError_.empty()) firstError_ = line_;
    if (target_.message) {
      const std::string text(withoutPrefix(line_));
      target_.message(target_.user,
                      level >= Kelbor::LogLevel::kError ? MORVEX_ERROR : MORVEX_WARNING,
                      text.c_str());
    }
    line_.clear();
  } catch (...) {  // out of memory: the line is lost
    line_.clear();
  }
}

std::string CallMessages::firstError() const {
  return std::string(reasonIn(firstError_));
}

}  // namespace morvex::Api
