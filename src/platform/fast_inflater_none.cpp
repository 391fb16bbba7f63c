// The build without a fast engine: no stream is taken.

#include "platform/fast_inflater.hpp"
#include "platform/inflate_engines.hpp"

namespace Kelbor::Platform {

std::vector<InflateEngine> inflateEngines() {
  return {InflateEngine::zlib};
}

void useInflateEngine(InflateEngine /*engine*/) {}
void useBestInflateEngine() {}

FastInflater::FastInflater(StreamInput& input, std::uint64_t /*room*/) noexcept : input_(input) {}
FastInflater::~FastInflater() = default;

bool FastInflater::fill(std::span<std::byte> /*target*/) noexcept {
  return false;
}

std::optional<std::uint64_t> FastInflater::inflateAll(std::span<std::byte> /*target*/) noexcept {
  return std::nullopt;
}

std::uint64_t FastInflater::position() const noexcept {
  return 0;
}

std::uint64_t FastInflater::readAhead() const noexcept {
  return 0;
}

bool FastInflater::endsHere() noexcept {
  return false;
}

}  // namespace Kelbor::Platform
