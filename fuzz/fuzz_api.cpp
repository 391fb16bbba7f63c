// Bytes as a result file: a host opens it through the handles, asks for all that it announces, and reads
// all arrays in one batch on two threads.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "morvex/morvex.h"
#include "support/memory_file.hpp"

namespace {

constexpr std::uint64_t kLargestArray = 1U << 14;
constexpr std::uint64_t kMostSteps = 4;
constexpr std::uint64_t kMostParts = 3;
constexpr std::uint64_t kMostVariables = 8;
constexpr std::size_t kMostArrays = 600;

int least(std::uint64_t count, std::uint64_t most) {
  return static_cast<int>(std::min(count, most));
}

/// The contract: a success has no text, a failure has one.
bool isWell(morvex_code code) {
  const morvex_error& error = *morvex_last_error();
  const bool hasText = error.text[0] != '\0';
  if (error.code != code || hasText != (code != MORVEX_OK) || code == MORVEX_INTERNAL) std::abort();
  return code == MORVEX_OK;
}

/// The arrays of a file that are small enough, each with a target of its own size: one byte too many
/// is seen by the sanitizer.
class Batch {
 public:
  explicit Batch(morvex_file* file) : file_(file) {}

  void add(morvex_request request) {
    std::uint64_t bytes = 0;
    std::int32_t isThere = 0;
    std::uint64_t needed = 0;
    if (targets_.size() >= kMostArrays) return;
    if (!isWell(morvex_get_size(file_, &request, &request.capacity, &bytes))) return;
    isWell(morvex_has_array(file_, &request, &isThere));
    isWell(morvex_get_path(file_, &request, 0, nullptr, 0, &needed));
    if (request.capacity > kLargestArray) return;
    request.target = targets_.emplace_back(request.capacity * bytes).data();
    requests_.push_back(request);
  }

  void read() {
    morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
    options.threads = 2;
    isWell(morvex_read(file_, requests_.data(), requests_.size(), &options));
    for (const morvex_request& request : requests_) {
      if (request.code == MORVEX_INTERNAL || request.code == MORVEX_CANCELLED) std::abort();
      if (request.code == MORVEX_OK && request.count != request.capacity) std::abort();
    }
  }

 private:
  morvex_file* file_;
  std::vector<morvex_request> requests_;
  std::vector<std::vector<std::byte>> targets_;
};

void askGeometry(morvex_file* file, const morvex_summary& summary, Batch& batch) {
  const int steps = least(std::max(summary.model.steps, summary.particles.steps), kMostSteps);
  for (int step = 0; step < steps; ++step) {
    float box[6];
    std::int32_t given = 0;
    std::uint64_t count = 0;
    isWell(morvex_get_box(file, step, box, &given));
    isWell(morvex_get_particle_count(file, step, &count));
    for (int part = 0; part < least(summary.parts, kMostParts); ++part) {
      morvex_part shape = MORVEX_PART_INIT;
      isWell(morvex_get_part(file, step, part, &shape));
      for (int kind = MORVEX_COORDINATES; kind <= MORVEX_CELL_TYPES; ++kind) {
        if (kind == MORVEX_VARIABLE) continue;
        morvex_request request = MORVEX_REQUEST_INIT;
        request.kind = kind;
        request.step = step;
        request.part = part;
        request.layout = step % 2;
        for (int type = 0; type < MORVEX_ELEMENT_TYPES; ++type) {
          request.element_type = type;
          const bool isByType = kind >= MORVEX_CONNECTIVITY && kind <= MORVEX_BORDER_PARENT_TYPES;
          const bool isThere = shape.elements[type] > 0 || shape.border_faces[type] > 0;
          if (isByType ? isThere : type == 0) batch.add(request);
        }
      }
    }
  }
}

void askVariables(morvex_file* file, const morvex_summary& summary, Batch& batch) {
  for (int v = 0; v < least(summary.variables, kMostVariables); ++v) {
    morvex_variable variable = MORVEX_VARIABLE_INIT;
    if (!isWell(morvex_get_variable(file, v, &variable))) continue;
    for (int step = 0; step < least(variable.steps, kMostSteps); ++step) {
      float value = 0;
      std::int32_t geometryStep = 0;
      isWell(morvex_get_constant(file, v, step, &value));
      isWell(morvex_get_geometry_step(file, v, step, &geometryStep));
      for (int part = 0; part < least(summary.parts, kMostParts); ++part) {
        morvex_request request = MORVEX_REQUEST_INIT;
        request.kind = MORVEX_VARIABLE;
        request.step = step;
        request.part = part;
        request.variable = v;
        request.imaginary = variable.is_complex;
        const int types = variable.location == MORVEX_PER_ELEMENT ? MORVEX_ELEMENT_TYPES : 1;
        for (request.element_type = 0; request.element_type < types; ++request.element_type) {
          batch.add(request);
        }
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const morvex::MemoryFile memory;
  memory.set(std::as_bytes(std::span(data, size)));
  morvex_file* file = nullptr;
  if (!isWell(morvex_open(memory.path().c_str(), nullptr, &file))) return 0;
  morvex_summary summary = MORVEX_SUMMARY_INIT;
  if (!isWell(morvex_get_summary(file, &summary))) std::abort();
  Batch batch(file);
  askGeometry(file, summary, batch);
  askVariables(file, summary, batch);
  batch.read();
  if (!isWell(morvex_close(file))) std::abort();
  return 0;
}
