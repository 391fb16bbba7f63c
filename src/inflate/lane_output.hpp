#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "inflate/lane.hpp"
#include "inflate/symbol_loop.hpp"

namespace Kelbor::Inflate {

/// Memory that a lane writes to, and the checksum of its output.
class LaneOutput {
 public:
  LaneOutput(const LaneOutput&) = delete;
  LaneOutput& operator=(const LaneOutput&) = delete;

  /// Sets the lane's pointers for the stream's first byte.
  virtual void begin(Lane& lane) noexcept = 0;

  /// Called at fastEnd: makes room after it, if there is any. `position` is the lane's position in
  /// the stream in bits; the byte at fastEnd - 1 was decoded from the 64 bits before it. False if
  /// zlib would have needed more input for that byte.
  [[nodiscard]] virtual bool makeRoom(Lane& lane, std::uint64_t position) noexcept = 0;

  /// Called after the last block; false if the output is incomplete.
  [[nodiscard]] virtual bool finish(const Lane& lane) noexcept = 0;

  /// Checksum of all output.
  [[nodiscard]] std::uint32_t checksum(const Lane& lane) noexcept {
    sumUpTo(lane.out);
    return sum_;
  }
  /// Adds new output to the checksum while it is in the cache, if there is enough for a call.
  void settle(const Lane& lane) noexcept {
    if (lane.out - summedTo_ >= kWorthSumming) sumUpTo(lane.out);
  }

 protected:
  explicit LaneOutput(const SymbolLoops& loops) noexcept : loops_(loops) {}
  ~LaneOutput() = default;

  void startSum(std::byte* at) noexcept {
    summedTo_ = at;
    sum_ = 1;
  }
  void sumUpTo(const std::byte* end) noexcept {
    sum_ = loops_.adler32(sum_, {summedTo_, end});
    summedTo_ = end;
  }
  /// To be called when the output has moved in memory.
  void moveSum(std::ptrdiff_t by) noexcept { summedTo_ += by; }

 private:
  static constexpr std::ptrdiff_t kWorthSumming = 16384;

  const SymbolLoops& loops_;
  const std::byte* summedTo_ = nullptr;
  std::uint32_t sum_ = 1;
};

/// A target for a whole stream, which may be shorter than the target.
class WholeOutput final : public LaneOutput {
 public:
  /// `target` is borrowed. Nothing is written after it.
  WholeOutput(const SymbolLoops& loops, std::span<std::byte> target) noexcept
      : LaneOutput(loops), target_(target) {}

  void begin(Lane& lane) noexcept override {
    lane.outBegin = lane.out = target_.data();
    lane.hardEnd = lane.out + target_.size();
    lane.fastEnd = target_.size() > kWriteOver ? lane.hardEnd - kWriteOver : lane.out;
    startSum(lane.out);
  }
  bool makeRoom(Lane& /*lane*/, std::uint64_t /*position*/) noexcept override { return true; }
  bool finish(const Lane& lane) noexcept override {
    size_ = static_cast<std::uint64_t>(lane.out - target_.data());
    return true;
  }
  /// Size of a finished stream in bytes.
  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

 private:
  std::span<std::byte> target_;
  std::uint64_t size_ = 0;
};

}  // namespace Kelbor::Inflate
