/* The file that the hosts of this folder read: one part of nodes that move, and one variable in
   time differences. Every number follows from its place, so that each host knows what it must get.
   All are multiples of the step in which they are stored, which makes them exact. */
#ifndef MORVEX_TESTS_HOST_FILE_H
#define MORVEX_TESTS_HOST_FILE_H

#include <stdint.h>
#include <stdio.h>
#include <string.h>

/* Chunks: streams that threads decode side by side in each dataset. */
enum { HOST_NODES = 120000, HOST_STEPS = 5, HOST_CHUNKS = 64, HOST_AXES = 3 };
#define HOST_QUANTUM 0.5
#define HOST_PART "plate"
#define HOST_VARIABLE "wave"

static inline double hostCoordinate(int step, int axis, int node) {
  return HOST_QUANTUM * (node % (1000 + 7 * axis)) + step * (axis + 1);
}

static inline double hostValue(int step, int node) {
  return HOST_QUANTUM * ((node * 13 + step * node) % 4001) - 700.0;
}

/* The functions that are asked for it; a host may have linked them or looked them up. */
typedef struct {
  int (*openFile)(const char* path, uint64_t value);
  int (*getNumberOfParts)(void);
  int (*getPartCoordinates)(int step, int part, float* x, float* y, float* z);
  int (*getVariableByComponent)(int step, int geometryStep, int variable, int part, int type,
                                int elementType, int imaginary, int component, float* values);
  int (*exit)(void);
} HostLibrary;

/* What the last question was answered with. */
static float hostAnswers[HOST_AXES][HOST_NODES];

/* The questions, by number; each one's answer is compared. */
enum { HOST_QUESTIONS = 2 * HOST_STEPS };

typedef enum { HOST_RIGHT, HOST_REFUSED, HOST_WRONG } HostAnswer;

static inline HostAnswer hostAsk(const HostLibrary* library, int question) {
  float* const x = hostAnswers[0];
  const int step = question / 2;
  int node, axis;
  memset(hostAnswers, 0xFF, sizeof hostAnswers);
  if (question % 2 == 0) {
    if (library->getPartCoordinates(step, 0, x, hostAnswers[1], hostAnswers[2]) != 0) {
      return HOST_REFUSED;
    }
    for (axis = 0; axis < HOST_AXES; ++axis) {
      for (node = 0; node < HOST_NODES; ++node) {
        if (hostAnswers[axis][node] != hostCoordinate(step, axis, node)) return HOST_WRONG;
      }
    }
    return HOST_RIGHT;
  }
  if (library->getVariableByComponent(step, 0, 0, 0, 1, 0, 0, 0, x) != 0) return HOST_REFUSED;
  for (node = 0; node < HOST_NODES; ++node) {
    if (x[node] != hostValue(step, node)) return HOST_WRONG;
  }
  return HOST_RIGHT;
}

/* Opens the file, asks all there is and ends the session; 1 if every number was right. */
static inline int hostReads(const HostLibrary* library, const char* path) {
  int right = library->openFile(path, 0) == 0 && library->getNumberOfParts() == 1;
  int question;
  for (question = 0; right && question < HOST_QUESTIONS; ++question) {
    if (hostAsk(library, question) != HOST_RIGHT) {
      fprintf(stderr, "question %d was not answered rightly\n", question);
      right = 0;
    }
  }
  return library->exit() == 0 && right;
}

#endif
