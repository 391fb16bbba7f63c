// Exports about variables.

#include "morvex/morvex_ensg.h"
#include "reader/session.hpp"

using morvex::GenericMXReader;
using morvex::onReader;
using morvex::session;

int MX_getNumberOfVariables(void) {
  return onReader(__func__, 0, [](GenericMXReader& r) { return r.getNumberOfVariables(); });
}

int MX_getVariableGeoType(int which_variable) {
  return onReader(__func__, -1,
                  [&](GenericMXReader& r) { return r.getVariableGeoType(which_variable); });
}

int MX_getVariableInformation(char** names, char** descriptions, int* var_types, int* locations,
                              int* complex_flags, char** imaginary_names, float* frequencies,
                              int* has_time, int* timesets) {
  session().log().write("[MX_getVariableInformation]\n");
  return onReader(__func__, -1, [&](GenericMXReader& r) {
    return r.getVariableInformation(names, descriptions, var_types, locations, complex_flags,
                                    imaginary_names, frequencies, has_time, timesets);
  });
}

int MX_getVariableByComponent(int timestep, int geometry_timestep, int which_variable,
                              int which_part, int var_type, int which_type, int imag_data,
                              int component, float* buffer) {
  session().log().write(
      "[MX_getVariableByComponent] which_variable-[%d] which_part-[%d] var_type-[%d] "
      "which_type-[%d] imag_data-[%d] component-[%d]\n",
      which_variable, which_part, var_type, which_type, imag_data, component);
  return onReader(__func__, -1, [&](GenericMXReader& r) {
    return r.getVariableByComponent(timestep, geometry_timestep, which_variable, which_part,
                                    var_type, which_type, imag_data, component, buffer);
  });
}

int MX_getConstantValue(int timestep, int which_variable, float* real, float* imaginary) {
  return onReader(__func__, -1, [&](GenericMXReader& r) {
    // Both before either is written: a miss leaves the host's numbers alone.
    const float realValue = r.getConstantValue(timestep, which_variable, 0);
    const float imaginaryValue = r.getConstantValue(timestep, which_variable, 1);
    *real = realValue;
    *imaginary = imaginaryValue;
    return 0;
  });
}
