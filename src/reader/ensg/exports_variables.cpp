// Exports about variables.

#include "morvex/morvex_ensg.h"
#include "reader/ensg/session.hpp"

using morvex::ask;
using morvex::GenericMXReader;
using morvex::readerFor;
using morvex::session;

int MX_getNumberOfVariables(void) {
  return ask(__func__, 0, &GenericMXReader::getNumberOfVariables);
}

int MX_getVariableGeoType(int which_variable) {
  return ask(__func__, -1, &GenericMXReader::getVariableGeoType, which_variable);
}

int MX_getVariableInformation(char** names, char** descriptions, int* var_types, int* locations,
                              int* complex_flags, char** imaginary_names, float* frequencies,
                              int* has_time, int* timesets) {
  session().log().write("[MX_getVariableInformation]\n");
  return ask(__func__, -1, &GenericMXReader::getVariableInformation, names, descriptions, var_types,
             locations, complex_flags, imaginary_names, frequencies, has_time, timesets);
}

int MX_getVariableByComponent(int timestep, int geometry_timestep, int which_variable,
                              int which_part, int var_type, int which_type, int imag_data,
                              int component, float* buffer) {
  session().log().write(
      "[MX_getVariableByComponent] which_variable-[%d] which_part-[%d] var_type-[%d] "
      "which_type-[%d] imag_data-[%d] component-[%d]\n",
      which_variable, which_part, var_type, which_type, imag_data, component);
  return ask(__func__, -1, &GenericMXReader::getVariableByComponent, timestep, geometry_timestep,
             which_variable, which_part, var_type, which_type, imag_data, component, buffer);
}

int MX_getConstantValue(int timestep, int which_variable, float* real, float* imaginary) {
  GenericMXReader* reader = readerFor(__func__);
  if (!reader) return -1;
  // Reads both before writing either: a failure leaves the host's numbers unchanged.
  const float realValue = reader->getConstantValue(timestep, which_variable, 0);
  const float imaginaryValue = reader->getConstantValue(timestep, which_variable, 1);
  *real = realValue;
  *imaginary = imaginaryValue;
  return 0;
}
