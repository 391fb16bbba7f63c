#include "export/npz_file.hpp"

#include <zlib.h>

#include <algorithm>
#include <concepts>

#include "common/npy.hpp"

namespace morvex::tools {
namespace {

// Numbers of the zip format, all little-endian like the machine.
constexpr std::uint16_t kPlainVersion = 20;  // 2.0
constexpr std::uint16_t kLargeVersion = 45;  // with sizes of 64 bits
constexpr std::uint16_t kMadeByUnix = 3U << 8U;
constexpr std::uint16_t kNamesAreUtf8 = 1U << 11U;
constexpr std::uint16_t kStored = 0;
// Members have the first date that zip knows: equal files give equal archives.
constexpr std::uint16_t kTime = 0;
constexpr std::uint16_t kDate = 1U << 5U | 1U;
constexpr std::uint32_t kPlainFile = 0100644U << 16U;  // mode of the extracted file
constexpr std::uint16_t kLargeField = 1;
constexpr std::uint16_t kMost16 = 0xFFFF;  // in place of a number that has 64 bits elsewhere
constexpr std::uint32_t kMost32 = 0xFFFF'FFFF;
constexpr std::uint64_t kChecksumAt = 14;  // in a member's header

/// Packed numbers.
class Record {
 public:
  template <std::unsigned_integral... T>
  explicit Record(T... numbers) {
    add(numbers...);
  }
  template <std::unsigned_integral... T>
  void add(T... numbers) {
    (text_.append(reinterpret_cast<const char*>(&numbers), sizeof numbers), ...);
  }
  [[nodiscard]] const std::string& text() const noexcept { return text_; }

 private:
  std::string text_;
};

std::uint32_t clamped32(std::uint64_t number) {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(number, kMost32));
}

/// The fields from the version to the extra field's size, which both headers of a member share.
/// `largeSize`: bytes of the extra field, 0 without one.
Record sharedFields(std::uint32_t checksum, std::uint64_t size, std::size_t nameSize,
                    std::uint16_t largeSize) {
  const std::uint32_t shown = clamped32(size);
  return Record(largeSize == 0 ? kPlainVersion : kLargeVersion, kNamesAreUtf8, kStored, kTime,
                kDate, checksum, shown, shown, static_cast<std::uint16_t>(nameSize), largeSize);
}

/// The extra field, empty without numbers.
std::string largeField(std::span<const std::uint64_t> numbers) {
  if (numbers.empty()) return {};
  Record field(kLargeField, static_cast<std::uint16_t>(numbers.size_bytes()));
  for (const std::uint64_t number : numbers) field.add(number);
  return field.text();
}

}  // namespace

void NpzFile::write(std::string_view bytes) {
  file_.write(bytes);
  position_ += bytes.size();
}

void NpzFile::begin(const std::string& key, const char* type,
                    std::span<const std::uint64_t> shape) {
  const std::string head = npyHeader(type, shape);
  std::uint64_t size = valueSize(type);
  for (const std::uint64_t extent : shape) size *= extent;
  size += head.size();
  members_.push_back({.name = key + ".npy", .start = position_, .size = size, .checksum = 0});
  const std::string& name = members_.back().name;
  // Small members keep the form that any reader of zip files takes.
  std::vector<std::uint64_t> large;
  if (size >= kMost32) large = {size, size};
  const std::string extra = largeField(large);
  write(Record(std::uint32_t{0x0403'4B50}).text() +
        sharedFields(0, size, name.size(), static_cast<std::uint16_t>(extra.size())).text() + name +
        extra);
  append(std::as_bytes(std::span(head)));
}

void NpzFile::append(std::span<const std::byte> bytes) {
  if (bytes.empty()) return;  // zlib takes a null pointer for the wish to begin anew
  std::uint32_t& sum = members_.back().checksum;
  sum = static_cast<std::uint32_t>(
      ::crc32_z(sum, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
  file_.write(bytes);
  position_ += bytes.size();
}

void NpzFile::end() {
  const Member& member = members_.back();
  file_.rewrite(member.start + kChecksumAt, Record(member.checksum).text());
}

void NpzFile::add(const std::string& key, const char* type, std::span<const std::uint64_t> shape,
                  std::span<const std::byte> bytes) {
  begin(key, type, shape);
  append(bytes);
  end();
}

// The directory repeats the headers of the members and says where they are.
void NpzFile::finish() {
  const std::uint64_t start = position_;
  for (const Member& member : members_) {
    std::vector<std::uint64_t> large;
    if (member.size >= kMost32) large = {member.size, member.size};
    if (member.start >= kMost32) large.push_back(member.start);
    const std::string extra = largeField(large);
    Record head(std::uint32_t{0x0201'4B50},
                static_cast<std::uint16_t>(kMadeByUnix | kLargeVersion));
    Record tail(std::uint16_t{0}, std::uint16_t{0}, std::uint16_t{0}, kPlainFile,
                clamped32(member.start));  // comment, disk, kind of content
    write(head.text() +
          sharedFields(member.checksum, member.size, member.name.size(),
                       static_cast<std::uint16_t>(extra.size()))
              .text() +
          tail.text() + member.name + extra);
  }
  const std::uint64_t size = position_ - start;
  const std::uint64_t count = members_.size();
  if (count >= kMost16 || start >= kMost32 || size >= kMost32) {
    const std::uint64_t end = position_;
    constexpr std::uint64_t kRest = 44;  // bytes of the record after this number
    const Record large(std::uint32_t{0x0606'4B50}, kRest,
                       static_cast<std::uint16_t>(kMadeByUnix | kLargeVersion), kLargeVersion,
                       std::uint32_t{0}, std::uint32_t{0}, count, count, size, start);
    const Record locator(std::uint32_t{0x0706'4B50}, std::uint32_t{0}, end, std::uint32_t{1});
    write(large.text() + locator.text());
  }
  const auto count16 = static_cast<std::uint16_t>(std::min<std::uint64_t>(count, kMost16));
  write(Record(std::uint32_t{0x0605'4B50}, std::uint16_t{0}, std::uint16_t{0}, count16, count16,
               clamped32(size), clamped32(start), std::uint16_t{0})
            .text());
  file_.finish();
}

}  // namespace morvex::tools
