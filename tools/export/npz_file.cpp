#include "export/npz_file.hpp"

#include <zip.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "common/npy.hpp"

namespace morvex::tools {

NpzFile::NpzFile(NewFolder& folder, const std::string& name)
    : place_(folder.placeOf(name)),
      zip_(::zipOpen64(folder.add(name).c_str(), APPEND_STATUS_CREATE)) {
  if (!zip_) failAt(place_);
}

// After a failure the archive is incomplete, and its folder removes it.
NpzFile::~NpzFile() {
  if (zip_) ::zipClose(zip_, nullptr);
}

void NpzFile::expect(int code) const {
  if (code != ZIP_OK) failAt(place_);
}

void NpzFile::begin(const std::string& key, const char* type,
                    std::span<const std::uint64_t> shape) {
  constexpr uLong kNamesAreUtf8 = 1U << 11U;
  constexpr uLong kMadeByUnix = 3U << 8U;
  zip_fileinfo info{};
  // Members have the first date that zip knows: equal files give equal archives.
  info.dosDate = (1U << 21U) | (1U << 16U);
  info.external_fa = 0100644U << 16U;  // mode of the extracted file
  const std::string head = npyHeader(type, shape);
  std::uint64_t size = valueSize(type);
  for (const std::uint64_t extent : shape) size *= extent;
  constexpr std::uint64_t kLargest = 0xFFFF'0000U;  // of a member with sizes of 32 bits
  // Small members keep the form that any reader of zip files takes.
  const int isLarge = size >= kLargest ? 1 : 0;
  errno = 0;
  expect(::zipOpenNewFileInZip4_64(zip_, (key + ".npy").c_str(), &info, nullptr, 0, nullptr, 0,
                                   nullptr, 0, 0, 0, -MAX_WBITS, DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY,
                                   nullptr, 0, kMadeByUnix, kNamesAreUtf8, isLarge));
  append(std::as_bytes(std::span(head)));
}

void NpzFile::append(std::span<const std::byte> bytes) {
  constexpr std::size_t kMost = std::size_t{1} << 30U;  // a write takes 32 bits
  errno = 0;
  for (std::size_t at = 0; at < bytes.size(); at += kMost) {
    const std::size_t size = std::min(kMost, bytes.size() - at);
    expect(::zipWriteInFileInZip(zip_, bytes.data() + at, static_cast<unsigned>(size)));
  }
}

void NpzFile::end() {
  errno = 0;
  expect(::zipCloseFileInZip(zip_));
}

void NpzFile::add(const std::string& key, const char* type, std::span<const std::uint64_t> shape,
                  std::span<const std::byte> bytes) {
  begin(key, type, shape);
  append(bytes);
  end();
}

void NpzFile::finish() {
  errno = 0;
  expect(::zipClose(std::exchange(zip_, nullptr), nullptr));
}

}  // namespace morvex::tools
