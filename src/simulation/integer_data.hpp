#pragma once

#include <string>

#include "simulation/host_array.hpp"

namespace morvex {

struct ReadContext;

// Reads of integer datasets: connectivity, tables of polygons and polyhedra, border faces. They
// never depend on other steps and are never quantised. `keep` stores a copy in the context's
// storage. std::logic_error "Unexpected recipe!" for a label that this kind of data doesn't accept;
// otherwise these throw like EnsgSimulation's reads.

/// Node numbers of elements or faces. `secondName` is the dataset of new ids, which may be missing.
void readConnectivityInto(ReadContext& context, const std::string& group,
                          const std::string& mainName, const std::string& secondName,
                          Int32Buffer buffer, bool keep);
void readInt32Into(ReadContext& context, const std::string& group, const std::string& name,
                   Int32Buffer buffer, bool keep);
void readInt16Into(ReadContext& context, const std::string& group, const std::string& name,
                   Int16Buffer buffer, bool keep);

}  // namespace morvex
