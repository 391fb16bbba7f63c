#pragma once

#include <array>
#include <cstring>

#include "morvex/morvex_ensg.h"

/// The file that the programs of this folder read: one part of nodes that move, and one variable in
/// time differences. Every number follows from its place, so that each host knows what it must get.
/// All are multiples of the step in which they are stored, which makes them exact.
namespace hostFile {

inline constexpr int kNodes = 120000;
inline constexpr int kSteps = 5;
inline constexpr int kChunks = 64;  // streams that threads decode side by side in each dataset
inline constexpr int kAxes = 3;
inline constexpr double kQuantum = 0.5;

inline float coordinate(int step, int axis, int node) {
  return static_cast<float>(kQuantum * (node % (1000 + 7 * axis)) + step * (axis + 1));
}

inline float value(int step, int node) {
  return static_cast<float>(kQuantum * ((node * 13 + step * node) % 4001) - 700.0);
}

/// The functions that are asked for it; a host may have linked them or looked them up.
struct Library {
  decltype(&MX_openFile) openFile;
  decltype(&MX_setNumberOfOmpThreads) setThreads;
  decltype(&MX_getPartCoordinates) getCoordinates;
  decltype(&MX_getVariableByComponent) getValues;
  decltype(&MX_exit) exit;
};

/// Questions by number, coordinates and values of each step in turn.
inline constexpr int kQuestions = 2 * kSteps;

enum class Answer { right, refused, wrong };

inline Answer ask(const Library& library, int question) {
  static std::array<std::array<float, kNodes>, kAxes> read;
  std::memset(&read, 0xFF, sizeof read);
  const int step = question / 2;
  const bool asksForNodes = question % 2 == 0;
  float* const x = read[0].data();
  const int status = asksForNodes
                         ? library.getCoordinates(step, 0, x, read[1].data(), read[2].data())
                         : library.getValues(step, 0, 0, 0, 1, 0, 0, 0, x);
  if (status != 0) return Answer::refused;
  for (int axis = 0; axis < (asksForNodes ? kAxes : 1); ++axis) {
    for (int node = 0; node < kNodes; ++node) {
      const float expected = asksForNodes ? coordinate(step, axis, node) : value(step, node);
      if (read[static_cast<std::size_t>(axis)][static_cast<std::size_t>(node)] != expected) {
        return Answer::wrong;
      }
    }
  }
  return Answer::right;
}

/// Asks all there is; true if every number was right.
inline bool readsAll(const Library& library) {
  for (int question = 0; question < kQuestions; ++question) {
    if (ask(library, question) != Answer::right) return false;
  }
  return true;
}

}  // namespace hostFile
