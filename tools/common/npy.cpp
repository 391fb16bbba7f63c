#include "common/npy.hpp"

namespace morvex::tools {

std::string npyHeader(std::string_view type, std::span<const std::uint64_t> shape) {
  std::string extents;
  for (const std::uint64_t extent : shape) {
    extents += (extents.empty() ? "" : ", ") + std::to_string(extent);
  }
  if (shape.size() == 1) extents += ",";  // a Python tuple of one needs its comma
  std::string text = "{'descr': '" + std::string(type) + "', 'fortran_order': False, 'shape': (" +
                     extents + "), }";
  // Magic, version and the length of the text as u16; the values begin at a multiple of 64 bytes.
  std::string header("\x93NUMPY\x01\x00", 8);
  constexpr std::size_t kAlignment = 64;
  const std::size_t used = header.size() + 2 + text.size() + 1;
  text.append((kAlignment - used % kAlignment) % kAlignment, ' ');
  text += '\n';
  header += static_cast<char>(text.size() & 0xFFU);
  header += static_cast<char>(text.size() >> 8U);
  return header + text;
}

}  // namespace morvex::tools
