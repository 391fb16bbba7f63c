#pragma once

#include <streambuf>

namespace Kelbor::Platform {

/// Swallows all output: the sink of log streams that are switched off.
class NullBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type character) override { return traits_type::not_eof(character); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

}  // namespace Kelbor::Platform
