#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

#include "sdf/sdf_format.hpp"

namespace Kelbor::MathModule {

/// The name of an entry, borrowed from its group, ordered like a C string. Stores the first eight
/// bytes as a number: most comparisons need not read the text, which is elsewhere in memory.
class EntryName {
 public:
  explicit EntryName(std::string_view text) noexcept;

  [[nodiscard]] std::string_view text() const noexcept { return text_; }

  friend bool operator==(const EntryName& a, const EntryName& b) noexcept {
    if (a.first_ != b.first_ || a.text_.size() != b.text_.size()) return false;
    return a.text_.size() <= sizeof a.first_ || a.text_ == b.text_;
  }
  friend std::strong_ordering operator<=>(const EntryName& a, const EntryName& b) noexcept {
    if (a.first_ != b.first_) return a.first_ <=> b.first_;
    return a == b ? std::strong_ordering::equal : a.text_ <=> b.text_;
  }

 private:
  /// The first eight bytes as one number, the first byte most significant; a shorter text is padded
  /// with zeros.
  std::uint64_t first_;
  std::string_view text_;
};

/// A node of a file's tree: its name and the tag of its record, which is its kind.
struct Entry {
  EntryName name;
  char type = 0;

  [[nodiscard]] char getType() const noexcept { return type; }
  [[nodiscard]] bool isGroup() const noexcept { return type == kGroupTag; }
  [[nodiscard]] bool isDataset() const noexcept { return type == kDatasetTag; }
};

/// An entry that holds bytes.
struct Dataset : Entry {
  explicit Dataset(const EntryName& ofName) noexcept : Entry{ofName, kDatasetTag} {}
};

/// An entry that describes its group. Readers ignore its content.
struct Attribute : Entry {
  explicit Attribute(const EntryName& ofName) noexcept : Entry{ofName, kAttributeTag} {}
};

/// A directory of entries, whatever the container that stores it.
class Group {
 public:
  Group() = default;
  Group(const Group&) = delete;
  Group& operator=(const Group&) = delete;

  // The order of the virtual functions is fixed.
  virtual ~Group() = default;
  /// Walks a path and creates missing groups. An entry on the way that is no group becomes the
  /// entry "." of a new group.
  [[nodiscard]] virtual Group& getOrCreateGroup(std::string_view path) = 0;
  /// Reads the entries from the file, once.
  virtual void load() = 0;
};

}  // namespace Kelbor::MathModule
