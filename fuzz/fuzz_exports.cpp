// Bytes as a result file: a host opens it through the exports and asks for everything that it
// announces.

#include <cstdint>
#include <span>

#include "contract.hpp"
#include "support/curious_host.hpp"
#include "support/memory_file.hpp"

namespace {

constexpr morvex::Curiosity kPatience{.largestArray = 1U << 14,
                                      .mostSteps = 6,
                                      .mostParts = 4,
                                      .mostVariables = 12,
                                      .mostArrays = 2000};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const morvex::MemoryFile memory;
  memory.set(std::as_bytes(std::span(data, size)));
  morvex::Fuzz::requireNone(morvex::askEverything(memory.path(), kPatience).undefined);
  return 0;
}
