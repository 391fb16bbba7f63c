#include "inflate/zlib_calls.hpp"

#include <algorithm>

#include "inflate/limits.hpp"

namespace Kelbor::Inflate {

ZlibCalls::ZlibCalls(StreamInput& input) noexcept : input_(input) {
  if (isReady()) stream_.get().avail_in = 0;
}

void ZlibCalls::offerInput(std::uint64_t bound) noexcept {
  const std::span<const std::byte> bytes = input_.ahead(bound);
  // zlib only reads through this pointer; its type lacks const for old compilers.
  stream_.get().next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
  stream_.get().avail_in = static_cast<uInt>(std::min<std::uint64_t>(bytes.size(), bound));
}

int ZlibCalls::run(std::span<std::byte> target, std::uint64_t& produced) noexcept {
  z_stream& stream = stream_.get();
  // zlib refuses a null target even if nothing is to be written.
  Bytef none = 0;
  stream.next_out = target.empty() ? &none : reinterpret_cast<Bytef*>(target.data());
  const uInt granted = static_cast<uInt>(std::min<std::uint64_t>(target.size(), kOutputStep));
  const uInt offered = stream.avail_in;
  stream.avail_out = granted;
  const int answer = ::inflate(&stream, Z_NO_FLUSH);
  input_.consume(offered - stream.avail_in);
  produced += granted - stream.avail_out;
  return answer;
}

}  // namespace Kelbor::Inflate
