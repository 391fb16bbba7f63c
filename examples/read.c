/* Prints the nodes of a result file's first part: read FILE */
#include <morvex/morvex.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  //! [read]
  morvex_file* file = NULL;
  morvex_request xyz = MORVEX_REQUEST_INIT; /* kind 0: coordinates; step 0, part 0 */
  xyz.layout = MORVEX_INTERLEAVED;
  if (morvex_open(argv[1], NULL, &file) || morvex_get_size(file, &xyz, &xyz.capacity, NULL)) {
    fprintf(stderr, "%s\n", morvex_last_error()->text);
    return 1;
  }
  float* values = xyz.target = malloc(xyz.capacity * sizeof(float) + 1);
  if (morvex_read(file, &xyz, 1, NULL)) fprintf(stderr, "%s\n", morvex_last_error()->text);
  for (uint64_t i = 0; !xyz.code && i + 2 < xyz.count; i += 3)
    printf("%g %g %g\n", values[i], values[i + 1], values[i + 2]);
  morvex_close(file);
  //! [read]
  free(values);
  return xyz.code;
}
