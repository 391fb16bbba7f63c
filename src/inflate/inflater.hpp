#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "inflate/lane_output.hpp"
#include "inflate/stream_input.hpp"
#include "inflate/symbol_loop.hpp"

namespace Kelbor::Inflate {

/// Decodes one zlib stream in a lane: header, blocks and checksum, while the input arrives in
/// pieces.
class StreamWalk {
 public:
  /// All arguments are borrowed. `input` is at its start; its window has at least kTailBytes.
  StreamWalk(const SymbolLoops& loops, StreamInput& input, LaneOutput& output) noexcept
      : loops_(loops), input_(input), output_(output) {}

  void begin(Lane& lane) noexcept;

  /// Does everything that the symbol loops don't. True if the lane is ready for the loops, false if
  /// it is kDone or kRefused.
  [[nodiscard]] bool advance(Lane& lane) noexcept;

  /// After the last advance(): true if zlib would accept the stream with the same output.
  [[nodiscard]] bool isDone() const noexcept { return isDone_; }

 private:
  /// The last kTailBytes of input, or less, are copied to where bytes after them may be read.
  static constexpr std::size_t kTailBytes = 1024;
  static constexpr std::size_t kTailRoom = 64;

  [[nodiscard]] bool hasInput(Lane& lane, std::size_t bytes) noexcept;
  [[nodiscard]] bool fetch(Lane& lane) noexcept;
  [[nodiscard]] bool hasRoom(Lane& lane) noexcept;
  [[nodiscard]] std::uint64_t position(const Lane& lane) const noexcept;
  void walkSymbols(Lane& lane) noexcept;
  void copyStored(Lane& lane) noexcept;
  void checkEnd(Lane& lane) noexcept;

  const SymbolLoops& loops_;
  StreamInput& input_;
  LaneOutput& output_;
  std::span<const std::byte> held_;  ///< input from input_'s position
  std::size_t storedLeft_ = 0;
  bool isTail_ = false;  ///< held_ is in tail_ and the last of the input
  bool isDone_ = false;
  std::array<std::byte, kTailBytes + kTailRoom> tail_;
};

/// The streams of a run.
class StreamQueue {
 public:
  StreamQueue() = default;
  StreamQueue(const StreamQueue&) = delete;
  StreamQueue& operator=(const StreamQueue&) = delete;
  virtual ~StreamQueue() = default;

  /// The next stream, borrowed until it ends; null if none is left, and then ever after.
  [[nodiscard]] virtual StreamWalk* next() noexcept = 0;
  /// A stream is done or refused.
  virtual void end(StreamWalk& walk) noexcept = 0;
};

/// The lanes of one thread. Pooled, since their tables take some 20 KiB.
class Inflater {
 public:
  Inflater() noexcept;
  ~Inflater();
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  /// False if zlib must inflate, by choice or because memory ran out.
  [[nodiscard]] bool isReady() const noexcept { return lanes_ != nullptr; }
  [[nodiscard]] const SymbolLoops& loops() const noexcept { return *loops_; }

  /// Runs streams to their ends in one loop, up to `lanes` of them at a time. A lane whose stream
  /// has ended takes the next one, so that all lanes are busy until few streams are left.
  void run(StreamQueue& queue, std::size_t lanes) noexcept;

 private:
  struct Lanes;
  struct IdleLanes;

  const SymbolLoops* loops_;
  Lanes* lanes_ = nullptr;
};

/// Inflates a whole stream into `target`, writes nothing after it, and returns the stream's size.
/// Empty if zlib might decide otherwise: then the input is rewound, and zlib must be asked.
[[nodiscard]] std::optional<std::uint64_t> inflateWhole(StreamInput& input,
                                                        std::span<std::byte> target) noexcept;

}  // namespace Kelbor::Inflate
