// A host that loads the library as a plug-in, reads with several threads, and unloads it: again and
// again, and neither descriptors nor memory may grow with it. Usage: dlopen_host LIBRARY FILE

#include <dlfcn.h>
#include <malloc.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <type_traits>

#include "host_file.hpp"

namespace {

constexpr int kRounds = 50;
constexpr int kWarmUp = 5;
constexpr std::size_t kMostGrowth = 262144;

bool readOnce(const char* libraryPath, const char* path) {
  void* const handle = ::dlopen(libraryPath, RTLD_NOW | RTLD_LOCAL);
  if (!handle) return false;
  const auto lookUp = [handle](auto& function, const char* name) {
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(handle, name));
    return function != nullptr;
  };
  hostFile::Library library{};
  const bool right = lookUp(library.openFile, "MX_openFile") &&
                     lookUp(library.setThreads, "MX_setNumberOfOmpThreads") &&
                     lookUp(library.getCoordinates, "MX_getPartCoordinates") &&
                     lookUp(library.getValues, "MX_getVariableByComponent") &&
                     lookUp(library.exit, "MX_exit") && library.setThreads(4) == 0 &&
                     library.openFile(path, 0) == 0 && hostFile::readsAll(library) &&
                     library.exit() == 0;
  return ::dlclose(handle) == 0 && right;
}

std::ptrdiff_t openDescriptors() {
  using Folder = std::filesystem::directory_iterator;
  return std::distance(Folder("/proc/self/fd"), Folder());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::ptrdiff_t descriptors = 0;
  std::size_t memory = 0;
  for (int round = 0; round < kRounds; ++round) {
    if (round == kWarmUp) {
      descriptors = openDescriptors();
      memory = ::mallinfo2().uordblks;
    }
    if (!readOnce(argv[1], argv[2])) {
      std::fprintf(stderr, "round %d failed\n", round);
      return 1;
    }
  }
  std::printf("descriptors %td -> %td, bytes %zu -> %zu\n", descriptors, openDescriptors(), memory,
              ::mallinfo2().uordblks);
  const bool hasGrown =
      openDescriptors() != descriptors || ::mallinfo2().uordblks > memory + kMostGrowth;
  return hasGrown ? 1 : 0;
}
