/* A host that opens a file, reads a little with several threads, and ends without MX_exit: its exit
   status must be its own. Usage: careless_host FILE */
#include "host_file.h"
#include "morvex/morvex_ensg.h"

int main(int argc, char** argv) {
  const HostLibrary library = {MX_openFile, MX_getNumberOfParts, MX_getPartCoordinates,
                               MX_getVariableByComponent, MX_exit};
  if (argc != 2 || MX_setNumberOfOmpThreads(4) != 0) return 2;
  return MX_openFile(argv[1], 0) == 0 && hostAsk(&library, 3) == HOST_RIGHT ? 0 : 1;
}
