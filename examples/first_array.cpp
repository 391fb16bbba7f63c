// Prints the coordinates of the first nodes of a result file.
#include <morvex/morvex_ensg.h>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 2 || MX_openFile(argv[1], 0) != 0) return 1;
  const int n = MX_getNumberOfParts();
  if (n == 0) return 1;
  std::vector<int> ids(n), types(n), nodes(n), counts(n * MX_ELEMENT_TYPES);
  std::vector<char> text(MX_TEXT_SIZE);  // one room for all names, as none of them is wanted
  std::vector<char*> names(n, text.data());
  std::vector<int*> elements(n);
  for (int i = 0; i < n; ++i) elements[i] = &counts[i * MX_ELEMENT_TYPES];
  MX_getPartInformation(0, ids.data(), types.data(), names.data(), nodes.data(), elements.data(),
                        nullptr, nullptr);
  std::vector<float> x(nodes[0]), y(nodes[0]), z(nodes[0]);
  MX_getPartCoordinates(0, 0, x.data(), y.data(), z.data());
  for (int i = 0; i < std::min(nodes[0], 5); ++i) std::printf("%g %g %g\n", x[i], y[i], z[i]);
  return MX_exit();
}
