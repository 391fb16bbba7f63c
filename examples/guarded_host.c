/* Prints the range of the first component of a variable at each step, and may be interrupted: a
 * host behind the guard. Usage: guarded_host FILE VARIABLE_NUMBER */
#include <morvex/morvex_guard.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

static volatile sig_atomic_t interrupted = 0;

static void interrupt(int number) {
  (void)number;
  interrupted = 1;
}

static int32_t progress(void* user, uint64_t done, uint64_t total, uint64_t bytes) {
  (void)user;
  fprintf(stderr, "\r%llu of %llu arrays, %llu bytes ", (unsigned long long)done,
          (unsigned long long)total, (unsigned long long)bytes);
  return interrupted;
}

static int failed(void) {
  const mxg_error* error = mxg_last_error();
  fprintf(stderr, "\n%s step %d part %d %s: %s\n", mxg_code_name(error->code), (int)error->step,
          (int)error->part, error->dataset, error->text);
  return 1;
}

/* Values on the nodes of a part at a step; their number goes to *count, which is 0 without any. */
static float* nodeValues(int32_t step, int32_t variable, int32_t part, uint64_t* count) {
  mxg_code code = mxg_get_variable_by_component(step, 0, variable, part, 0, 0, 0, NULL, 0, count);
  float* values = malloc((size_t)*count * sizeof(float) + 1);
  if (!values) *count = 0;
  if (code == MXG_OK && values) {
    code = mxg_get_variable_by_component(step, 0, variable, part, 0, 0, 0, values, *count, count);
  }
  if (code != MXG_OK && code != MXG_NOT_DEFINED) failed();
  if (code != MXG_OK) *count = 0;
  return values;
}

int main(int argc, char** argv) {
  uint64_t parts = 0, steps = 0, variables = 0;
  if (argc != 3) return 2;
  if (mxg_open_file(argv[1], 0) != MXG_OK) return failed();
  if (mxg_get_number_of_variables(&variables) != MXG_OK) return failed();
  const int32_t variable = atoi(argv[2]);
  if (variable < 0 || (uint64_t)variable >= variables) return 2;
  mxg_variable* all = calloc((size_t)variables, sizeof *all);
  if (!all) return 2;
  if (mxg_get_variable_information(all, variables, &variables) != MXG_OK) return failed();
  if (mxg_get_number_of_timesteps(all[variable].timeset, &steps) != MXG_OK) return failed();
  if (mxg_get_number_of_parts(&parts) != MXG_OK) return failed();
  free(all);

  signal(SIGINT, interrupt);
  if (mxg_begin_walk(parts * steps, progress, NULL) != MXG_OK) return failed();
  for (int32_t step = 0; step < (int32_t)steps && !interrupted; ++step) {
    for (int32_t part = 0; part < (int32_t)parts; ++part) {
      uint64_t count = 0;
      float* values = nodeValues(step, variable, part, &count);
      float low = count > 0 ? values[0] : 0.0F, high = low;
      for (uint64_t i = 0; i < count; ++i) {
        if (values[i] < low) low = values[i];
        if (values[i] > high) high = values[i];
      }
      if (count > 0) printf("step %d part %d: %g to %g\n", (int)step, (int)part, low, high);
      free(values);
    }
  }
  if (mxg_end_walk() != MXG_OK) return failed();
  return mxg_exit() == MXG_OK ? 0 : failed();
}
