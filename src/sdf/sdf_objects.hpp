#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sdf/sdf_compression.hpp"
#include "sdf/sdf_format.hpp"

namespace Kelbor::MathModule {

class SdfGroup;

/// The name of an entry, borrowed from the group that has it, in the order of C strings. The first
/// bytes stand in the name itself: most comparisons need not look at the text, which is elsewhere.
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
  /// Eight bytes as one number, the first one counting most, with zeros behind a shorter text.
  std::uint64_t first_;
  std::string_view text_;
};

/// A node of a file's tree, as the record in its group's table tells it.
struct Entry {
  EntryName name;
  char type = 0;
  EntryFields fields{};
  /// What is in a group; null until somebody looks into it, and for what is no group.
  std::unique_ptr<SdfGroup> group{};

  [[nodiscard]] bool isGroup() const noexcept { return type == kGroupTag; }
  [[nodiscard]] bool isDataset() const noexcept { return type == kDatasetTag; }
};

/// A directory of entries, filled from its table at its first use. A file may have a hundred
/// thousand groups: one takes little more than its table does, and nothing before it is looked
/// into.
class SdfGroup {
 public:
  /// By name. Pointers into it hold until an entry is added.
  using Entries = std::vector<Entry>;

  /// A group that exists in memory only.
  SdfGroup() = default;
  /// A stored group. `tableRegion` is borrowed from the file, which keeps it as long as its tree.
  SdfGroup(const EntryFields& table, std::span<const std::byte> tableRegion)
      : table_(table), tableRegion_(tableRegion) {}
  SdfGroup(const SdfGroup&) = delete;
  SdfGroup& operator=(const SdfGroup&) = delete;

  /// Reads the entries from the file if that has not been done. KelborDataException for a table
  /// that lies or ends outside the region, Exception "Failed to decompress SdfGroup!"; the group
  /// then stays empty.
  void load();
  /// Whether there is a table that has yet to be read.
  [[nodiscard]] bool isStored() const noexcept { return table_.field1 != 0; }
  /// Where it is, in bytes from the table region's start.
  [[nodiscard]] std::uint64_t tablePosition() const noexcept { return table_.field2; }

  /// The group of a path relative to this one: "a/b", "/a/b", "a//b" and "a/b/" are the same. Null
  /// if a component is missing or no group.
  [[nodiscard]] SdfGroup* getGroupByPath(std::string_view path);
  /// Walks a path as getGroupByPath does and makes what is missing. What is in the way and no group
  /// becomes the entry "." of a new one.
  [[nodiscard]] SdfGroup& getOrCreateGroup(std::string_view path);
  /// What is in an entry of this group that is a group.
  [[nodiscard]] SdfGroup& enter(Entry& entry) const;

  /// The entry of exactly that name, null if there is none. The name ends at its first zero byte.
  [[nodiscard]] Entry* getEntry(std::string_view name);
  /// An entry of that name is replaced. As above, the name ends at its first zero byte.
  void addEntry(std::string_view name, char type, const EntryFields& fields);
  /// All entries, loaded.
  [[nodiscard]] Entries& getEntries();

 private:
  [[nodiscard]] Entries parse(std::span<const std::byte> table) const;
  /// The entry of that name, made without a type if there is none.
  Entry& obtain(std::string_view name);

  EntryFields table_;
  std::span<const std::byte> tableRegion_;
  Entries entries_;
  /// What the names are views into, where it is not the table region: the table as it was inflated,
  /// and the names of entries that have been added.
  ByteBlock inflatedTable_;
  std::forward_list<std::string> addedNames_;
};

}  // namespace Kelbor::MathModule
