/* Prints the range of a variable at each step, all parts and element types together. Reads a step's
 * arrays in one go, on all processors, and may be interrupted: host FILE VARIABLE */
#include <morvex/morvex.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

static volatile sig_atomic_t interrupted = 0;

static void interrupt(int number) {
  (void)number;
  interrupted = 1;
}

static int32_t progress(void* user, uint64_t done, uint64_t total, uint64_t bytes) {
  (void)user, (void)done, (void)total, (void)bytes;
  return interrupted;
}

static void failed(void* user, uint64_t index, const morvex_error* error) {
  (void)user, (void)index;
  fprintf(stderr, "step %d part %d %s: %s\n", (int)error->step, (int)error->part, error->path,
          error->text);
}

static int giveUp(void) {
  fprintf(stderr, "%s\n", morvex_last_error()->text);
  return 1;
}

/* Requests the variable on every part and element type that has it at a step. Returns their number,
 * at most `most`; each gets memory of its own, which the caller frees. */
static uint64_t prepare(morvex_file* file, int32_t variable, int32_t step, morvex_request* requests,
                        uint64_t most) {
  uint64_t made = 0, parts = 0;
  int32_t geometryStep = 0, has = 0;
  morvex_variable info = MORVEX_VARIABLE_INIT;
  morvex_get_variable(file, variable, &info);
  morvex_get_geometry_step(file, variable, step, &geometryStep);
  morvex_get_part_count(file, geometryStep, &parts);
  if (info.on_particles) parts = 1;
  for (int32_t part = 0; part < (int32_t)parts; ++part) {
    morvex_part shape = MORVEX_PART_INIT;
    morvex_get_part(file, geometryStep, part, &shape);
    const int perType = info.location == MORVEX_PER_ELEMENT && !shape.is_block;
    for (int32_t type = 0; type < (perType ? MORVEX_ELEMENT_TYPES : 1) && made < most; ++type) {
      morvex_request asked = MORVEX_REQUEST_INIT;
      asked.kind = MORVEX_VARIABLE;
      asked.variable = variable, asked.step = step, asked.part = part, asked.element_type = type;
      if (morvex_has_array(file, &asked, &has) || !has) continue;
      if (morvex_get_size(file, &asked, &asked.capacity, NULL) || !asked.capacity) continue;
      asked.target = malloc(asked.capacity * sizeof(float));
      if (asked.target) requests[made++] = asked;
    }
  }
  return made;
}

int main(int argc, char** argv) {
  enum { kMost = 4096 };
  static morvex_request requests[kMost];
  morvex_file* file = NULL;
  morvex_variable info = MORVEX_VARIABLE_INIT;
  morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
  int32_t variable = 0;
  options.progress = progress, options.failed = failed;
  if (argc != 3) return 2;
  if (morvex_open(argv[1], NULL, &file)) return giveUp();
  if (morvex_find_variable(file, argv[2], &variable)) return giveUp();
  if (morvex_get_variable(file, variable, &info)) return giveUp();
  signal(SIGINT, interrupt);
  for (int32_t step = 0; step < (int32_t)info.steps && !interrupted; ++step) {
    const uint64_t count = prepare(file, variable, step, requests, kMost);
    float low = 0, high = -1;
    morvex_read(file, requests, count, &options);
    for (uint64_t i = 0; i < count; ++i) {
      const float* values = requests[i].target;
      for (uint64_t k = 0; requests[i].code == MORVEX_OK && k < requests[i].count; ++k) {
        if (low > high) low = high = values[k];
        if (values[k] < low) low = values[k];
        if (values[k] > high) high = values[k];
      }
      free(requests[i].target);
    }
    if (low <= high) printf("step %d: %g to %g\n", (int)step, low, high);
  }
  return morvex_close(file) ? giveUp() : interrupted;
}
