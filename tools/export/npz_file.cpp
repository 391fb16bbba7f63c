#include "export/npz_file.hpp"

#include <zip.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace morvex::tools {
namespace {

/// What stands before the values in a .npy file of version 1.0; its length is a multiple of 64.
std::string headOf(const char* type, const std::vector<std::uint64_t>& shape) {
  std::string sizes;
  for (const std::uint64_t size : shape) sizes += std::to_string(size) + ",";
  std::string text =
      std::string("{'descr': '") + type + "', 'fortran_order': False, 'shape': (" + sizes + "), }";
  constexpr std::size_t kAlignment = 64;
  constexpr std::size_t kPrefix = 10;
  const std::size_t unpadded = kPrefix + text.size() + 1;
  text.append((kAlignment - unpadded % kAlignment) % kAlignment, ' ');
  text += '\n';
  std::string head("\x93NUMPY\x01\x00", 8);
  head += static_cast<char>(text.size() & 0xFFU);
  head += static_cast<char>(text.size() >> 8U);
  return head + text;
}

}  // namespace

NpzFile::NpzFile(NewFolder& folder, const std::string& name)
    : place_(folder.placeOf(name)),
      zip_(::zipOpen64(folder.add(name).c_str(), APPEND_STATUS_CREATE)) {
  if (!zip_) failAt(place_);
}

NpzFile::~NpzFile() {
  if (zip_) ::zipClose(zip_, nullptr);
}

void NpzFile::expect(int code) const {
  if (code != ZIP_OK) failAt(place_);
}

void NpzFile::add(const std::string& key, const char* type, const std::vector<std::uint64_t>& shape,
                  std::span<const std::byte> bytes) {
  constexpr uLong kNamesAreUtf8 = 1U << 11U;
  constexpr uLong kMadeByUnix = 3U << 8U;
  // Members without a date have the first one that zip knows: equal files give equal archives.
  zip_fileinfo info{};
  info.dosDate = (1U << 21U) | (1U << 16U);
  const std::string head = headOf(type, shape);
  constexpr std::uint64_t kLargest = 0xFFFF'0000U;  // of a member with sizes of 32 bits
  // Small members keep the form that any reader of zip files takes.
  const int isLarge = bytes.size() >= kLargest ? 1 : 0;
  errno = 0;
  expect(::zipOpenNewFileInZip4_64(zip_, (key + ".npy").c_str(), &info, nullptr, 0, nullptr, 0,
                                   nullptr, 0, 0, 0, -MAX_WBITS, DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY,
                                   nullptr, 0, kMadeByUnix, kNamesAreUtf8, isLarge));
  expect(::zipWriteInFileInZip(zip_, head.data(), static_cast<unsigned>(head.size())));
  constexpr std::size_t kMost = std::size_t{1} << 30U;  // a write takes 32 bits
  for (std::size_t at = 0; at < bytes.size(); at += kMost) {
    const std::size_t size = std::min(kMost, bytes.size() - at);
    expect(::zipWriteInFileInZip(zip_, bytes.data() + at, static_cast<unsigned>(size)));
  }
  expect(::zipCloseFileInZip(zip_));
}

void NpzFile::finish() {
  errno = 0;
  expect(::zipClose(std::exchange(zip_, nullptr), nullptr));
}

}  // namespace morvex::tools
