/* A caller in plain C: every function of the header is there to be linked, and a file is read. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "morvex/morvex_guard.h"

typedef void (*AnyFunction)(void);
#define ADDRESS(name) ((AnyFunction)(name))

static const AnyFunction all[] = {ADDRESS(mxg_last_error),
                                  ADDRESS(mxg_code_name),
                                  ADDRESS(mxg_begin_walk),
                                  ADDRESS(mxg_end_walk),
                                  ADDRESS(mxg_open_file),
                                  ADDRESS(mxg_exit),
                                  ADDRESS(mxg_set_number_of_omp_threads),
                                  ADDRESS(mxg_get_reader_release),
                                  ADDRESS(mxg_get_dataset_path),
                                  ADDRESS(mxg_get_number_of_timesets),
                                  ADDRESS(mxg_get_geometry_adaptivity_type),
                                  ADDRESS(mxg_get_model_geo_timeset),
                                  ADDRESS(mxg_get_measured_geo_timeset),
                                  ADDRESS(mxg_get_number_of_timesteps),
                                  ADDRESS(mxg_get_timesteps_values),
                                  ADDRESS(mxg_has_element_ids),
                                  ADDRESS(mxg_has_node_ids),
                                  ADDRESS(mxg_get_number_of_parts),
                                  ADDRESS(mxg_get_part_information),
                                  ADDRESS(mxg_get_part_name),
                                  ADDRESS(mxg_get_part_node_ids),
                                  ADDRESS(mxg_get_part_element_ids),
                                  ADDRESS(mxg_get_bounding_box),
                                  ADDRESS(mxg_finished_geometry_processing),
                                  ADDRESS(mxg_get_part_coordinates),
                                  ADDRESS(mxg_get_block_structured_coordinates),
                                  ADDRESS(mxg_get_block_iblanking),
                                  ADDRESS(mxg_get_element_connectivity),
                                  ADDRESS(mxg_get_nsided_number_of_nodes_per_face),
                                  ADDRESS(mxg_get_data_size_for_nsided_connectivity),
                                  ADDRESS(mxg_get_nsided_connectivity),
                                  ADDRESS(mxg_get_nfaced_number_of_faces_per_element),
                                  ADDRESS(mxg_get_data_size_for_nfaced_nodes_per_face),
                                  ADDRESS(mxg_get_nfaced_nodes_per_face),
                                  ADDRESS(mxg_get_data_size_for_nfaced_connectivity),
                                  ADDRESS(mxg_get_nfaced_connectivity),
                                  ADDRESS(mxg_has_border_faces),
                                  ADDRESS(mxg_get_border_faces_conn_by_type),
                                  ADDRESS(mxg_has_measured_geometry),
                                  ADDRESS(mxg_get_number_of_measured_particles),
                                  ADDRESS(mxg_get_measured_particle_ids),
                                  ADDRESS(mxg_get_measured_particle_coordinates),
                                  ADDRESS(mxg_get_number_of_variables),
                                  ADDRESS(mxg_get_variable_geo_type),
                                  ADDRESS(mxg_get_variable_information),
                                  ADDRESS(mxg_get_variable_text),
                                  ADDRESS(mxg_get_variable_by_component),
                                  ADDRESS(mxg_get_constant_value)};

/* Prints the last error, for a caller that goes on to fail. */
static int failed(const char* question) {
  const mxg_error* error = mxg_last_error();
  printf("%s: %s, %s\n", question, mxg_code_name(error->code), error->text);
  return 1;
}

static int readFile(const char* path) {
  uint64_t count = 0;
  uint64_t i;
  mxg_part* parts = NULL;
  if (mxg_open_file(path, 0) != MXG_OK) return failed("open");
  if (mxg_get_part_information(0, NULL, 0, &count) != MXG_OK) return failed("count parts");
  parts = calloc((size_t)count, sizeof *parts);
  if (!parts) return 1;
  if (mxg_get_part_information(0, parts, count, &count) != MXG_OK) return failed("parts");
  for (i = 0; i < count; ++i) {
    char name[64];
    uint64_t size = 0;
    if (mxg_get_part_name(0, (int32_t)i, name, sizeof name, &size) != MXG_OK) return failed("name");
    printf("%s %llu\n", name, (unsigned long long)parts[i].nodes);
  }
  free(parts);
  return mxg_exit() == MXG_OK ? 0 : failed("exit");
}

int main(int argc, char** argv) {
  size_t i;
  for (i = 0; i < sizeof all / sizeof all[0]; ++i) {
    if (!all[i]) return 1;
  }
  if (mxg_open_file("no such file", 0) != MXG_CANNOT_OPEN) return failed("no such file");
  if (mxg_last_error()->code != MXG_CANNOT_OPEN) return 1;
  return argc == 2 ? readFile(argv[1]) : 1;
}
