#pragma once

#include <span>

#include "morvex/morvex.h"
#include "reader/api/array.hpp"
#include "reader/api/file.hpp"

namespace morvex::Api {

/// Reads the arrays of the requests on up to options.threads threads and sets a code for each.
/// Arrays of a series stay together, in the order of their steps. Returns the failure of the first
/// request that failed, or MORVEX_OK.
[[nodiscard]] Failure readBatch(File& file, std::span<morvex_request> requests,
                                const morvex_read_options& options);

/// Reads one array into `target`, which has room for it. Throws Refusal with path and reason.
void readArray(File& file, const morvex_request& request, const Array& array, Loan& loan,
               void* target);

}  // namespace morvex::Api
