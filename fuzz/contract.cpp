#include "contract.hpp"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "core/log.hpp"
#include "platform/thread_count.hpp"

namespace morvex::Fuzz {

void requireNone(const std::string& undefined) {
  if (undefined.empty()) return;
  std::fprintf(stderr, "Not in the contract: %s\n", undefined.c_str());
  std::abort();
}

}  // namespace morvex::Fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  // The log looks up its streams at each opening of a file.
  std::cout.rdbuf(nullptr);
  std::cerr.rdbuf(nullptr);
  Kelbor::getLogger().setLogLevel(Kelbor::LogLevel::kSilent);
  Kelbor::Platform::setThreadCount(1);  // failures must be reproducible
  return 0;
}
