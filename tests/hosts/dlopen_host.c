/* A host that loads the library as a plug-in, reads with several threads, and unloads it: again and
   again, and neither descriptors nor memory may grow with it. Usage: dlopen_host LIBRARY FILE */
#include <dirent.h>
#include <dlfcn.h>
#include <malloc.h>
#include <stdlib.h>

#include "host_file.h"

enum { ROUNDS = 50, WARM_UP = 10, MOST_GROWTH = 262144 };

typedef int (*SetThreads)(int);

/* POSIX lets an object's address stand for a function; ISO C has no cast for it. */
static void lookUp(void* library, const char* name, void* function) {
  void* const address = dlsym(library, name);
  if (!address) {
    fprintf(stderr, "no %s\n", name);
    exit(1);
  }
  memcpy(function, &address, sizeof address);
}

static int readOnce(const char* libraryPath, const char* path) {
  HostLibrary library;
  SetThreads setThreads;
  int right;
  void* const handle = dlopen(libraryPath, RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    fprintf(stderr, "%s\n", dlerror());
    return 0;
  }
  lookUp(handle, "MX_openFile", &library.openFile);
  lookUp(handle, "MX_getNumberOfParts", &library.getNumberOfParts);
  lookUp(handle, "MX_getPartCoordinates", &library.getPartCoordinates);
  lookUp(handle, "MX_getVariableByComponent", &library.getVariableByComponent);
  lookUp(handle, "MX_exit", &library.exit);
  lookUp(handle, "MX_setNumberOfOmpThreads", &setThreads);
  right = setThreads(4) == 0 && hostReads(&library, path);
  return dlclose(handle) == 0 && right;
}

static int openDescriptors(void) {
  DIR* const folder = opendir("/proc/self/fd");
  int count = 0;
  while (folder && readdir(folder)) ++count;
  if (folder) closedir(folder);
  return count;
}

int main(int argc, char** argv) {
  int descriptors = 0, round;
  size_t memory = 0;
  if (argc != 3) return 2;
  for (round = 0; round < ROUNDS; ++round) {
    if (round == WARM_UP) {
      descriptors = openDescriptors();
      memory = mallinfo2().uordblks;
    }
    if (!readOnce(argv[1], argv[2])) {
      fprintf(stderr, "round %d failed\n", round);
      return 1;
    }
  }
  if (openDescriptors() != descriptors || mallinfo2().uordblks > memory + MOST_GROWTH) {
    fprintf(stderr, "descriptors %d -> %d, bytes %zu -> %zu\n", descriptors, openDescriptors(),
            memory, mallinfo2().uordblks);
    return 1;
  }
  return 0;
}
