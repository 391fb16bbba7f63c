#pragma once

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sdf/entry.hpp"
#include "sdf/sdf_compression.hpp"
#include "sdf/sdf_format.hpp"

namespace Kelbor::MathModule {

class SdfGroup;

/// An entry of this container with the numbers of its record.
struct SdfEntry : Entry {
  SdfObject object{};
  /// The group's content; null until it is accessed, and for other entries.
  std::unique_ptr<SdfGroup> group{};
};

struct SdfDataset : SdfEntry {
  SdfDataset(const EntryName& ofName, const SdfObject& stored)
      : SdfEntry{Dataset(ofName), stored} {}
};

/// Preserved unchanged when a table is written again.
struct SdfAttribute : SdfEntry {
  SdfAttribute(const EntryName& ofName, const SdfObject& stored)
      : SdfEntry{Attribute(ofName), stored} {}
};

/// A text attribute. Its tag in memory is its own, so that it counts neither as group nor as
/// dataset.
struct SdfStringAttribute : SdfEntry {
  SdfStringAttribute(const EntryName& ofName, const SdfObject& stored)
      : SdfEntry{{ofName, kLoadedStringAttributeTag}, stored} {}
};

/// A directory of entries, loaded from its table on first use. A file may have a hundred thousand
/// groups: a group takes little more memory than its table, and none before it is accessed.
class SdfGroup final : public Group {
 public:
  /// Sorted by name. Pointers into it are valid until an entry is added.
  using Entries = std::vector<SdfEntry>;

  /// A group that exists only in memory.
  SdfGroup() = default;
  /// A stored group. `tableRegion` is borrowed from the file, which keeps it as long as its tree.
  SdfGroup(const SdfObject& table, std::span<const std::byte> tableRegion)
      : table_(table), tableRegion_(tableRegion) {}

  /// Walks a path like getGroupByPath().
  [[nodiscard]] SdfGroup& getOrCreateGroup(std::string_view path) override;
  /// KelborDataException for a table that is or ends outside the region; Exception
  /// "Failed to decompress SdfGroup!". After either, the group stays empty.
  void load() override;
  /// True until the stored table has been read.
  [[nodiscard]] bool isStored() const noexcept { return table_.field1 != 0; }
  /// Position of the table, in bytes from the table region's start.
  [[nodiscard]] std::uint64_t tablePosition() const noexcept { return table_.field2; }

  /// The group of a path relative to this one; "a/b", "/a/b", "a//b" and "a/b/" are equivalent.
  /// Null if a component is missing or no group.
  [[nodiscard]] SdfGroup* getGroupByPath(std::string_view path);
  /// The content of an entry of this group that is a group.
  [[nodiscard]] SdfGroup& enter(SdfEntry& entry) const;

  /// The entry of exactly that name, or null. The name ends at its first zero byte.
  [[nodiscard]] SdfEntry* getEntry(std::string_view name);
  /// Replaces an entry of that name. The name ends at its first zero byte.
  void addEntry(std::string_view name, char type, const SdfObject& object);
  /// All entries, loaded from the file.
  [[nodiscard]] Entries& getEntries();

 private:
  [[nodiscard]] Entries parse(std::span<const std::byte> table) const;
  /// The entry of that name; a missing one is created without a type.
  SdfEntry& obtain(std::string_view name);

  SdfObject table_;
  std::span<const std::byte> tableRegion_;
  Entries entries_;
  /// Memory of names that are not in the table region: the inflated table, and the names of added
  /// entries.
  ByteBlock inflatedTable_;
  std::forward_list<std::string> addedNames_;
};

}  // namespace Kelbor::MathModule
