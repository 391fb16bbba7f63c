#pragma once

#include <cstddef>
#include <span>

#include "inflate/plane_chunks.hpp"

namespace Kelbor::MathModule {

/// A procedure that decodes one stream of plane chunks and can leave that to a loop that decodes
/// several streams at once. Inflating is a chain of dependent look-ups; a processor that
/// interleaves two or three such chains decodes them in less time than one after the other.
///
/// The caller opens a job, has it decoded by Inflate::decodePlaneChunks, closes it, then reads the
/// output.
class JointDecoder {
 public:
  /// Opens the input for a run that decodes into `memory`, the buffer of the output. The procedure
  /// owns the job. The caller decodes it before it reads the output: process() then uses the job's
  /// result instead of decoding. Throws whatever process() throws for its input and working memory.
  [[nodiscard]] virtual Inflate::PlaneJob& openJob(std::span<std::byte> memory) = 0;
  /// Releases the input and the working memory of a decoded job; its result stays.
  virtual void closeJob() noexcept = 0;

 protected:
  ~JointDecoder() = default;
};

}  // namespace Kelbor::MathModule
