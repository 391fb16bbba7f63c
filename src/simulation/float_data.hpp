#pragma once

#include <cstdint>
#include <string>

#include "simulation/host_array.hpp"

namespace morvex {

struct GeometryMetadata;
struct ReadContext;

// Reads of float datasets: an axis of coordinates or a component of a variable. Such a dataset is
// stored as the bits of its floats, or quantised to integers, with two more datasets beside it
// ("_op", "_ov") for values stored exactly. Its recipe may refer to other datasets, whose results
// come from the context's cache or are computed into it.
//
// `keep` stores a copy of the values in the context's storage. std::logic_error for a recipe label
// that this kind of data doesn't accept; otherwise these throw like EnsgSimulation's reads.

/// One axis of the nodes of a part, or of all particles. `geometryType` is 0 for the model, 1 for
/// measured particles; `raw` is set for structured blocks, which are never quantised.
void readCoordinatesInto(ReadContext& context, const std::string& group, const std::string& name,
                         int part, int geometryType, const GeometryMetadata& geometryMetadata,
                         FloatBuffer buffer, bool raw, bool keep);

/// A component of a variable at a step. If a dependency can't be computed, logs a WARNING; unless
/// it is optional, building the chain then fails.
void readVariableInto(ReadContext& context, int timestep, const std::string& variableName,
                      const std::string& group, const std::string& name, FloatBuffer buffer,
                      bool keep);

}  // namespace morvex
