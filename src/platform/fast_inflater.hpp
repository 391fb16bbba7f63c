#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/stream_input.hpp"

namespace Kelbor::Platform {

/// Inflates one zlib stream with the fast engine, which has its own idea of damaged streams and of
/// how far it reads ahead. So it vouches only for what zlib would answer as well: after a false or
/// an empty optional the stream is to be inflated again by zlib, from its start. The target memory
/// then holds anything.
///
/// Nothing behind the input is read and nothing behind a target is written.
class FastInflater {
 public:
  /// Bytes. A target with so much room behind the stream spares inflateAll() a slow loop for the
  /// last of its bytes.
  static constexpr std::uint64_t kRoomBehind = 288;

  /// Consumes the stream's first two bytes if it is ready for the rest. `input` is borrowed.
  /// `room`: bytes of all targets together.
  FastInflater(StreamInput& input, std::uint64_t room) noexcept;
  ~FastInflater();
  FastInflater(const FastInflater&) = delete;
  FastInflater& operator=(const FastInflater&) = delete;

  /// False: not built in, switched off, not worth it for so little data, too many of them, out of
  /// memory, or the first two bytes aren't those of a zlib stream without dictionary.
  [[nodiscard]] bool isReady() const noexcept { return engine_ != nullptr; }

  /// The next bytes of the stream; true if they filled `target`.
  [[nodiscard]] bool fill(std::span<std::byte> target) noexcept;

  /// Everything, the checksum included, and how many bytes it was; instead of fill(), for a stream
  /// that its input can show as a whole.
  [[nodiscard]] std::optional<std::uint64_t> inflateAll(std::span<std::byte> target) noexcept;

  /// Bytes of input behind which zlib stands at most, the last begun byte and readAhead() included.
  [[nodiscard]] std::uint64_t position() const noexcept;

  /// Bytes that are decoded but not handed out yet.
  [[nodiscard]] std::uint64_t readAhead() const noexcept;

  /// True if the stream ends here and its checksum agrees. False ends the use of the stream.
  [[nodiscard]] bool endsHere() noexcept;

 private:
  struct Engine;
  struct IdleEngines;

  [[nodiscard]] bool run(std::span<std::byte>& target) noexcept;

  Engine* engine_ = nullptr;
  [[maybe_unused]] StreamInput& input_;
};

}  // namespace Kelbor::Platform
