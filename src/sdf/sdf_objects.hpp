#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "sdf/sdf_format.hpp"

namespace Kelbor::MathModule {

/// A node of a file's tree, known by the tag of its record.
class Entry {
 public:
  explicit Entry(char type) : type_(type) {}
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;
  virtual ~Entry() = default;

  [[nodiscard]] bool isGroup() const noexcept { return type_ == kGroupTag; }
  [[nodiscard]] bool isDataset() const noexcept { return type_ == kDatasetTag; }
  [[nodiscard]] char getType() const noexcept { return type_; }

 private:
  char type_;
};

class Dataset : public Entry {
 public:
  Dataset() : Entry(kDatasetTag) {}
};

class Attribute : public Entry {
 public:
  Attribute() : Entry(kAttributeTag) {}
};

/// A directory of entries, each owned. Filled at its first use. Pointers to entries hold until the
/// entry is replaced or the tree goes.
class Group : public Entry {
 public:
  /// Names have no zero byte, so that this order, by unsigned bytes, is that of C strings.
  using Entries = std::map<std::string, std::unique_ptr<Entry>, std::less<>>;

  Group() : Entry(kGroupTag) {}

  // The positions of the virtual operations are fixed.

  /// Walks a path as getGroupByPath does and makes what is missing. What is in the way and no group
  /// becomes the entry "." of a new one. Null where that is not possible.
  virtual Group* getOrCreateGroup(std::string_view path) = 0;
  /// Reads the entries from the file if that has not been done.
  virtual void load() = 0;

  /// The group of a path relative to this one: "a/b", "/a/b", "a//b" and "a/b/" are the same. Null
  /// if a component is missing or no group.
  [[nodiscard]] Group* getGroupByPath(std::string_view path);
  /// The entry of exactly that name, null if there is none.
  [[nodiscard]] Entry* getEntry(std::string_view name);
  /// The name ends at its first zero byte. An entry of that name is replaced.
  void addEntry(std::string_view name, std::unique_ptr<Entry> entry);
  /// All entries by name, loaded.
  [[nodiscard]] const Entries& getEntries();

 protected:
  void loadIfEmpty() {
    if (entries_.empty()) load();
  }

  Entries entries_;
};

/// What an entry of a container adds: its three fields.
struct SdfObject : EntryFields {
  SdfObject() = default;
  explicit SdfObject(const EntryFields& fields) : EntryFields(fields) {}
  virtual ~SdfObject() = default;
};

class SdfDataset final : public SdfObject, public Dataset {
 public:
  using SdfObject::SdfObject;
};

class SdfAttribute final : public SdfObject, public Attribute {
 public:
  using SdfObject::SdfObject;
};

/// Neither group, dataset nor attribute: only carried along.
class SdfStringAttribute final : public SdfObject, public Entry {
 public:
  explicit SdfStringAttribute(const EntryFields& fields)
      : SdfObject(fields), Entry(kLoadedStringAttributeTag) {}
};

class SdfGroup final : public SdfObject, public Group {
 public:
  /// A group that exists in memory only.
  SdfGroup() = default;
  /// A stored group. `tableRegion` is borrowed from the file, which keeps it as long as its tree.
  SdfGroup(const EntryFields& fields, std::span<const std::byte> tableRegion)
      : SdfObject(fields), tableRegion_(tableRegion) {}

  Group* getOrCreateGroup(std::string_view path) override;
  /// Sets field1 to 0 when done. KelborDataException for a table that lies or ends outside the
  /// region, Exception "Failed to decompress SdfGroup!"; the group then stays empty.
  void load() override;

 private:
  [[nodiscard]] Entries parse(std::span<const std::byte> table) const;

  std::span<const std::byte> tableRegion_;
};

/// The fields of an entry of a container.
[[nodiscard]] const EntryFields& fieldsOf(const Entry& entry);

}  // namespace Kelbor::MathModule
