// Functions of morvex.h about arrays.

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <span>

#include "morvex/morvex.h"
#include "reader/api/array.hpp"
#include "reader/api/batch.hpp"
#include "reader/api/call.hpp"

using namespace morvex;
using namespace morvex::Api;

namespace {

Array arrayOf(File& file, const morvex_request* request) {
  require(request, "request");
  try {
    return {file.contents(), *request};
  } catch (const Refusal& refusal) {
    Failure failure = refusal.failure();
    failure.step = request->step;
    failure.part = request->part;
    throw Refusal(std::move(failure));
  }
}

/// Minimum and maximum of the values that are numbers.
struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  std::uint64_t invalid = 0;
};

template <class T>
Range rangeOf(std::span<const std::byte> bytes) {
  Range range;
  for (std::size_t at = 0; at < bytes.size(); at += sizeof(T)) {
    T value;
    std::memcpy(&value, bytes.data() + at, sizeof(T));
    const auto number = static_cast<double>(value);
    if (std::isnan(number)) {
      ++range.invalid;
    } else {
      range.low = std::min(range.low, number);
      range.high = std::max(range.high, number);
    }
  }
  return range;
}

Range rangeOf(morvex_kind kind, std::span<const std::byte> bytes) {
  switch (kind) {
    case MORVEX_COORDINATES:
    case MORVEX_PARTICLE_COORDINATES:
    case MORVEX_VARIABLE:
      return rangeOf<float>(bytes);
    case MORVEX_CELL_OFFSETS:
    case MORVEX_CELL_CONNECTIVITY:
      return rangeOf<std::int64_t>(bytes);
    case MORVEX_CELL_TYPES:
      return rangeOf<std::uint8_t>(bytes);
    case MORVEX_BORDER_PARENT_TYPES:
      return rangeOf<std::int16_t>(bytes);
    default:
      return rangeOf<std::int32_t>(bytes);
  }
}

}  // namespace

morvex_code morvex_read(morvex_file* file, morvex_request* requests, uint64_t count,
                        const morvex_read_options* options) {
  return onFile(file, [&](File& open) {
    if (count > 0) require(requests, "requests");
    morvex_read_options chosen = MORVEX_READ_OPTIONS_INIT;
    if (options) {
      requireStruct(options, "options");
      chosen = *options;
    }
    if (chosen.threads < 0) throw Refusal(MORVEX_BAD_ARGUMENT, "the number of threads is negative");
    Failure failure = readBatch(open, {requests, static_cast<std::size_t>(count)}, chosen);
    if (failure.code != MORVEX_OK) throw Refusal(std::move(failure));
  });
}

morvex_code morvex_get_size(morvex_file* file, const morvex_request* request, uint64_t* count,
                            uint64_t* value_bytes) {
  return onFile(file, [&](File& open) {
    require(count, "count");
    const Array array = arrayOf(open, request);
    *count = array.count();
    if (value_bytes) *value_bytes = array.valueBytes();
  });
}

morvex_code morvex_get_range(morvex_file* file, const morvex_request* request, double range[2],
                             uint64_t* invalid) {
  return onFile(file, [&](File& open) {
    require(range, "range");
    const Array array = arrayOf(open, request);
    const auto size = static_cast<std::size_t>(array.bytes());
    const auto values = std::make_unique_for_overwrite<std::byte[]>(size);
    Loan loan(open.instances(), open.threads());
    readArray(open, *request, array, loan, values.get());
    const Range found = rangeOf(array.kind(), {values.get(), size});
    const bool isEmpty = found.low > found.high;
    range[0] = isEmpty ? 0.0 : found.low;
    range[1] = isEmpty ? -1.0 : found.high;
    if (invalid) *invalid = found.invalid;
  });
}

morvex_code morvex_has_array(morvex_file* file, const morvex_request* request, int32_t* answer) {
  return onFile(file, [&](File& open) {
    require(answer, "answer");
    const Array array = arrayOf(open, request);
    Loan loan(open.instances(), 1);
    bool isThere = true;
    for (const auto& [group, name] : array.datasets()) {
      isThere = isThere && loan.simulation().findDataset(group, name).has_value();
    }
    *answer = isThere ? 1 : 0;
  });
}

morvex_code morvex_get_path(morvex_file* file, const morvex_request* request, uint64_t index,
                            char* path, uint64_t capacity, uint64_t* needed) {
  return onFile(file, [&](File& open) {
    require(needed, "needed");
    const auto datasets = arrayOf(open, request).datasets();
    const auto& [group, name] =
        datasets[positionOf(static_cast<std::int64_t>(index), datasets.size(), "dataset")];
    const std::string whole = group + "/" + name;
    *needed = whole.size() + 1;
    if (!path && capacity == 0) return;
    require(path, "path");
    if (*needed > capacity) {
      throw Refusal(MORVEX_TOO_SMALL, "the path needs " + std::to_string(*needed) + " bytes");
    }
    std::memcpy(path, whole.c_str(), whole.size() + 1);
  });
}

morvex_code morvex_finish_geometry(morvex_file* file) {
  return onFile(file, [&](File& open) { open.instances().clearGeometryCaches(); });
}
