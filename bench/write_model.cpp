// Writes the model of a crash with many parts, for measurements in programs that can't write one.

#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

#include "model_files.hpp"

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "Usage: morvex-write-model OUTPUT NODES PARTS STEPS\n";
    return 2;
  }
  try {
    morvex::Bench::writeCrashModel(argv[1],
                                   {.nodes = static_cast<std::uint32_t>(std::stoul(argv[2])),
                                    .parts = static_cast<std::uint32_t>(std::stoul(argv[3])),
                                    .steps = std::stoi(argv[4])});
  } catch (const std::exception& failure) {
    std::cerr << "failed: " << failure.what() << "\n";
    return 1;
  }
  return 0;
}
