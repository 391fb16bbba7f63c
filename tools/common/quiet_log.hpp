#pragma once

#include "core/log.hpp"

namespace morvex::tools {

/// While it lives, the inner layers that this thread uses directly log nothing: their failures are
/// exceptions as well.
class QuietLog {
 private:
  class Nowhere final : public Kelbor::LogSink {
   public:
    void write(Kelbor::LogLevel /*level*/, std::string_view /*piece*/) noexcept override {}
  };

  Nowhere nowhere_;
  Kelbor::ScopedLogSink sink_{&nowhere_};
};

}  // namespace morvex::tools
