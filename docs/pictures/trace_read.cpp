// Opens a result file, reads the coordinates of a part, and prints every call within the library
// during that read: one line "DEPTH OFFSET" for each function entered, with its place in the shared
// object. The library must be compiled with -finstrument-functions. Usage: trace_read FILE
#include <dlfcn.h>
#include <morvex/morvex_ensg.h>

#include <cstdio>
#include <vector>

namespace {

bool isTracing = false;
int depth = 0;

}  // namespace

extern "C" {

// The compiler calls these around each function of the library.
__attribute__((no_instrument_function)) void __cyg_profile_func_enter(void* function, void*) {
  if (!isTracing) return;
  isTracing = false;  // dladdr and printf are not part of the road
  Dl_info place;
  if (dladdr(function, &place) != 0) {
    const auto offset = static_cast<char*>(function) - static_cast<char*>(place.dli_fbase);
    std::printf("%d %#tx\n", depth, offset);
  }
  isTracing = true;
  ++depth;
}

__attribute__((no_instrument_function)) void __cyg_profile_func_exit(void*, void*) {
  if (isTracing) --depth;
}
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  MX_setNumberOfOmpThreads(1);  // one thread: the calls of a team would mingle
  if (MX_openFile(argv[1], 0) != 0) return 1;
  const int n = MX_getNumberOfParts();
  if (n == 0) return 1;
  std::vector<char> text(MX_TEXT_SIZE);
  std::vector<char*> names(n, text.data());
  std::vector<int> ids(n), types(n), nodes(n), counts(n * MX_ELEMENT_TYPES);
  std::vector<int*> elements(n);
  for (int i = 0; i < n; ++i) elements[i] = &counts[i * MX_ELEMENT_TYPES];
  MX_getPartInformation(0, ids.data(), types.data(), names.data(), nodes.data(), elements.data(),
                        nullptr, nullptr);
  std::vector<float> x(nodes[0]), y(nodes[0]), z(nodes[0]);
  isTracing = true;
  const int answer = MX_getPartCoordinates(0, 0, x.data(), y.data(), z.data());
  isTracing = false;
  return answer == 0 ? 0 : 1;
}
