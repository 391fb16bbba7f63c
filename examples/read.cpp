// The ranges of a variable on all parts of a result file, in C++: read FILE VARIABLE
#include <exception>
#include <iostream>
#include <morvex/morvex.hpp>

int main(int argc, char** argv) try {
  if (argc != 3) return 2;
  //! [read]
  morvex::File file(argv[1]);
  const int variable = file.findVariable(argv[2]);
  const int last = static_cast<int>(file.variable(variable).steps) - 1;
  for (int part = 0; part < file.partCount(); ++part) {
    const std::vector<float> xyz = file.coordinates(part);
    const auto [low, high] = file.range(morvex::variableRequest(variable, last, part));
    std::cout << file.part(part).name << ": " << xyz.size() / 3 << " nodes, values from " << low
              << " to " << high << "\n";
  }
  //! [read]
  return 0;
} catch (const std::exception& failure) {
  std::cerr << failure.what() << "\n";
  return 1;
}
