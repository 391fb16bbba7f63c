/* Lists the parts of a result file and the first node of each: the smallest host. */
#include <morvex/morvex_ensg.h>
#include <stdio.h>
#include <stdlib.h>

enum { NAME_SIZE = 1048576 + 1 }; /* no file has longer names; memory that isn't touched is free */

int main(int argc, char** argv) {
  if (argc != 2 || MX_openFile(argv[1], 0) != 0) return 1;
  const int n = MX_getNumberOfParts();
  int* tables = calloc((size_t)n * (3 + MX_ELEMENT_TYPES) + 1, sizeof(int));
  int **elements = calloc((size_t)n + 1, sizeof(int*)), *nodes = tables + 2 * n;
  char **names = calloc((size_t)n + 1, sizeof(char*)), *text = calloc((size_t)n + 1, NAME_SIZE);
  for (int i = 0; i < n; ++i) elements[i] = tables + 3 * n + i * MX_ELEMENT_TYPES;
  for (int i = 0; i < n; ++i) names[i] = text + (size_t)i * NAME_SIZE;
  if (MX_getPartInformation(0, tables, tables + n, names, nodes, elements, NULL, NULL)) return 1;
  for (int i = 0; i < n; ++i) { /* tables[n + i] is not 0 for structured blocks */
    float* xyz = calloc((size_t)nodes[i] * 3 + 1, sizeof(float));
    float *y = xyz + nodes[i], *z = y + nodes[i];
    if (tables[n + i] == 0) MX_getPartCoordinates(0, i, xyz, y, z);
    if (nodes[i] > 0) printf("%s: %d nodes, (%g, %g, %g)\n", names[i], nodes[i], *xyz, *y, *z);
    free(xyz);
  }
  free(tables), free(elements), free(names), free(text);
  return MX_exit();
}
