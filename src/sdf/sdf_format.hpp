#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/byte_cursor.hpp"

/// The bytes of a container, in order. All integers are little-endian and unaligned; there is no
/// padding:
///
///   0          file header, 20 bytes
///   20         payloads of the datasets, back to back
///   T          table region: one table per group, children before parents, the root's last
///   size - 24  trailer: the entry fields of the root group
namespace Kelbor::MathModule {

inline constexpr std::array<char, 4> kMagic{'S', 'D', 'F', 'v'};
/// The version that is written. Newer versions are read with a warning.
inline constexpr std::uint32_t kVersion = 106;
/// Older files have no flavour to compare.
inline constexpr std::uint32_t kFirstVersionWithFlavour = 105;

inline constexpr std::size_t kHeaderSize = 20;
inline constexpr std::size_t kTableOffsetPosition = 8;
inline constexpr std::size_t kFieldsSize = 24;
inline constexpr std::size_t kSmallestFile = kHeaderSize + kFieldsSize;
/// A table record with an empty name: type, name length, fields.
inline constexpr std::size_t kSmallestRecord = 1 + 8 + kFieldsSize;
/// A dataset of up to this many bytes is stored in its own field2 and field3.
inline constexpr std::uint64_t kMaxInlineSize = 16;
/// The name of a group's own data, in a group that is a dataset with children.
inline constexpr std::string_view kOwnDataset = ".";

/// Tags of the table records.
inline constexpr char kDatasetTag = 'D';
inline constexpr char kGroupTag = 'G';
inline constexpr char kAttributeTag = 'A';
inline constexpr char kStringAttributeTag = 'S';
/// The tag of a string attribute in memory, and hence in a table that is written again. No reader
/// interprets it.
inline constexpr char kLoadedStringAttributeTag = '0';

struct FileHeader {
  std::array<char, 4> magic = kMagic;
  std::uint32_t version = kVersion;
  /// Position of the table region; the end of the header until a new file is closed.
  std::uint64_t tableOffset = kHeaderSize;
  std::uint32_t flavour = 0;
};

/// The fields of an entry:
///
///             field1                    field2                         field3
///   group     bytes of its table        table's position, counted      bytes of the stored table;
///                                       from the table region's start  field1 if not deflated
///   dataset   bytes, at least 17        position in the file           0, or length of the
///                                                                      deflate stream
///   dataset   bytes, at most 16         the bytes themselves, zero-filled
///   others    preserved unchanged
struct SdfObject {
  std::uint64_t field1 = 0;
  std::uint64_t field2 = 0;
  std::uint64_t field3 = 0;
};

/// One entry of a group's table. A table is a u64 count and that many records, sorted by name.
struct TableRecord {
  char type = 0;
  /// Up to the first zero byte, if any; a view into the table.
  std::string_view name;
  SdfObject object;
};

[[nodiscard]] FileHeader readFileHeader(ContainerCursor& cursor);
[[nodiscard]] SdfObject readSdfObject(ContainerCursor& cursor);
[[nodiscard]] TableRecord readTableRecord(ContainerCursor& cursor);

void writeFileHeader(std::vector<std::byte>& bytes, const FileHeader& header);
void writeSdfObject(std::vector<std::byte>& bytes, const SdfObject& fields);
void writeTableRecord(std::vector<std::byte>& bytes, char type, std::string_view name,
                      const SdfObject& fields);
/// Appends a number of the format, such as a table's count.
void writeNumber(std::vector<std::byte>& bytes, std::uint64_t number);

/// The first four characters, zero-filled.
[[nodiscard]] std::uint32_t flavourOf(std::string_view text);

/// The 16 bytes of an inline dataset.
[[nodiscard]] std::array<std::byte, kMaxInlineSize> inlineBytes(const SdfObject& fields);
void setInlineBytes(SdfObject& fields, const std::array<std::byte, kMaxInlineSize>& bytes);

}  // namespace Kelbor::MathModule
