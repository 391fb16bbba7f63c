// How the cost of an array grows with the file. Doubles parts, steps, variables and values, each
// alone, in a model whose variables are stored as time differences. Prints processor time per
// array, by the order of the reads, and the memory that the session holds afterwards.

#include <malloc.h>
#include <morvex/morvex_ensg.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <iostream>
#include <numeric>
#include <string>
#include <vector>

#include "host_session.hpp"
#include "measure.hpp"
#include "writer/result_file.hpp"

namespace {

using namespace morvex;
using Bench::ScratchDirectory;
using Bench::Session;

constexpr std::uint32_t kBlockSize = 8;
constexpr int kWalks = 3;

struct Shape {
  int parts = 100;
  int steps = 16;
  int variables = 2;
  int values = 16;

  [[nodiscard]] int arrays() const { return parts * steps * variables; }
};

std::vector<float> ramp(int count, double offset) {
  std::vector<float> values(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    values[static_cast<std::size_t>(i)] = static_cast<float>(std::sin(0.3 * i + offset));
  }
  return values;
}

void writeModel(const std::string& path, const Shape& shape) {
  Writer::ResultFileBuilder file;
  for (int p = 0; p < shape.parts; ++p) {
    file.part("part" + std::to_string(p))
        .nodes(ramp(shape.values, p), ramp(shape.values, p + 1), ramp(shape.values, p + 2));
  }
  std::vector<float> times(static_cast<std::size_t>(shape.steps));
  std::iota(times.begin(), times.end(), 0.0F);
  const std::uint32_t timeset = file.timeSet(times);
  file.timeBlocks(kBlockSize);
  for (int v = 0; v < shape.variables; ++v) {
    auto& variable = file.variable("v" + std::to_string(v), Writer::Location::kPerNode)
                         .onTimeSet(timeset)
                         .quantised(Writer::Quantisation::uniform(0.001))
                         .timeDifferences();
    for (int s = 0; s < shape.steps; ++s) {
      for (int p = 0; p < shape.parts; ++p) {
        variable.set({.step = s, .part = p}, ramp(shape.values, 0.01 * s + p + v));
      }
    }
  }
  file.write(path);
}

double processorSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double microsecondsOf(const std::function<void()>& call) {
  const double start = processorSeconds();
  call();
  return 1e6 * (processorSeconds() - start);
}

void readOne(int step, int variable, int part, std::vector<float>& buffer) {
  if (MX_getVariableByComponent(step, 0, variable, part, 1, 0, 0, 0, buffer.data()) != 0) {
    throw std::runtime_error("The library refuses an array");
  }
}

/// Reads all arrays once: by part, by step, or by variable.
void walkAll(const Shape& shape, int order, std::vector<float>& buffer) {
  const auto each = [](int count, const auto& body) {
    for (int i = 0; i < count; ++i) body(i);
  };
  if (order == 0) {
    each(shape.parts, [&](int p) {
      each(shape.variables,
           [&](int v) { each(shape.steps, [&](int s) { readOne(s, v, p, buffer); }); });
    });
  } else if (order == 1) {
    each(shape.steps, [&](int s) {
      each(shape.variables,
           [&](int v) { each(shape.parts, [&](int p) { readOne(s, v, p, buffer); }); });
    });
  } else {
    each(shape.variables, [&](int v) {
      each(shape.parts,
           [&](int p) { each(shape.steps, [&](int s) { readOne(s, v, p, buffer); }); });
    });
  }
}

std::size_t heapBytes() {
  const auto heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

struct Cost {
  double open = 0;                // microseconds per part and variable
  double walk[kWalks] = {};       // microseconds per array
  double heldBytes[kWalks] = {};  // bytes per array, after the walk
};

Cost measure(const std::string& path, const Shape& shape) {
  Cost cost;
  std::vector<float> buffer(static_cast<std::size_t>(shape.values));
  for (int order = 0; order < kWalks; ++order) {
    const std::size_t before = heapBytes();
    const double start = processorSeconds();
    const Session session(path, 1);
    Bench::readTables();
    cost.open = 1e6 * (processorSeconds() - start) / (shape.parts + shape.variables);
    MX_finishedGeometryProcessing();
    cost.walk[order] = microsecondsOf([&] { walkAll(shape, order, buffer); }) / shape.arrays();
    cost.heldBytes[order] = static_cast<double>(heapBytes() - before) / shape.arrays();
  }
  return cost;
}

void printSeries(const char* title, const std::vector<Shape>& shapes) {
  const ScratchDirectory scratch;
  const std::string path = scratch.path("growth.mvx");
  std::printf("\n%s\n%7s %6s %5s %7s %9s | %9s %9s %9s | %9s | %s\n", title, "parts", "steps",
              "vars", "values", "arrays", "by part", "by step", "by var", "open", "held, bytes");
  double first = 0;
  double last = 0;
  for (const Shape& shape : shapes) {
    writeModel(path, shape);
    const Cost cost = measure(path, shape);
    last = std::max({cost.walk[0], cost.walk[1], cost.walk[2]});
    if (first == 0) first = last;
    std::printf("%7d %6d %5d %7d %9d | %9.2f %9.2f %9.2f | %9.2f | %.0f %.0f %.0f\n", shape.parts,
                shape.steps, shape.variables, shape.values, shape.arrays(), cost.walk[0],
                cost.walk[1], cost.walk[2], cost.open, cost.heldBytes[0], cost.heldBytes[1],
                cost.heldBytes[2]);
    std::fflush(stdout);
  }
  std::printf("growth of the slowest walk from the first line to the last: %.2f\n", last / first);
}

std::vector<Shape> doubled(Shape shape, int Shape::*field, int last) {
  std::vector<Shape> shapes;
  for (;; shape.*field = std::min(shape.*field * 2, last)) {
    shapes.push_back(shape);
    if (shape.*field == last) return shapes;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bool isQuick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  if (argc > 1 + (isQuick ? 1 : 0)) {
    std::cerr << "morvex-growth [--quick]\n";
    return 2;
  }
  // The library warns at each opening.
  if (!std::freopen("/dev/null", "w", stderr)) return 1;
  std::cout
      << Bench::machine()
      << "\nmicroseconds of processor time for each array, one thread; opening and listing for "
         "each part and variable\n";
  const int most = isQuick ? 400 : 2000;
  try {
    printSeries("parts", doubled({}, &Shape::parts, most));
    printSeries("steps", doubled({.steps = 8}, &Shape::steps, 64));
    printSeries("variables", doubled({.variables = 1}, &Shape::variables, 8));
    printSeries("values", doubled({.parts = 20}, &Shape::values, isQuick ? 1024 : 65536));
    if (!isQuick) printSeries("all at their largest", {{2000, 64, 8, 16}});
  } catch (const std::exception& failure) {
    std::cout << "failed: " << failure.what() << "\n";
    return 1;
  }
  return 0;
}
