#include "sdf/sdf_objects.hpp"

#include <utility>

#include "core/error.hpp"
#include "sdf/sdf_compression.hpp"

namespace Kelbor::MathModule {
namespace {

/// Takes the first component off a path; the rest keeps its slashes.
std::string_view takeComponent(std::string_view& path) {
  const std::size_t slash = path.find('/');
  const std::string_view component = path.substr(0, slash);
  path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
  return component;
}

std::string_view skipSlash(std::string_view path) {
  return path.starts_with('/') ? path.substr(1) : path;
}

std::string_view cutAtZero(std::string_view name) {
  return name.substr(0, name.find('\0'));
}

}  // namespace

Group* Group::getGroupByPath(std::string_view path) {
  Group* group = this;
  while (true) {
    group->loadIfEmpty();
    path = skipSlash(path);
    if (path.empty()) return group;
    const auto found = group->entries_.find(takeComponent(path));
    if (found == group->entries_.end() || !found->second->isGroup()) return nullptr;
    group = static_cast<Group*>(found->second.get());
  }
}

Entry* Group::getEntry(std::string_view name) {
  loadIfEmpty();
  const auto found = entries_.find(cutAtZero(name));
  return found == entries_.end() ? nullptr : found->second.get();
}

void Group::addEntry(std::string_view name, std::unique_ptr<Entry> entry) {
  entries_.insert_or_assign(std::string(cutAtZero(name)), std::move(entry));
}

const Group::Entries& Group::getEntries() {
  loadIfEmpty();
  return entries_;
}

Group* SdfGroup::getOrCreateGroup(std::string_view path) {
  SdfGroup* group = this;
  while (true) {
    group->loadIfEmpty();
    path = skipSlash(path);
    if (path.empty()) return group;
    const std::string_view name = cutAtZero(takeComponent(path));
    std::unique_ptr<Entry>& slot = group->entries_[std::string(name)];
    if (!slot || !slot->isGroup()) {
      auto made = std::make_unique<SdfGroup>();
      if (slot) made->addEntry(kOwnDataset, std::move(slot));
      slot = std::move(made);
    }
    group = static_cast<SdfGroup*>(slot.get());
    group->load();
  }
}

void SdfGroup::load() {
  if (field1 == 0 || tableRegion_.empty()) return;
  if (field2 > tableRegion_.size() || field3 > tableRegion_.size() - field2) {
    raise<KelborDataException>("Sdf group table lies beyond the table region!");
  }
  const auto stored =
      tableRegion_.subspan(static_cast<std::size_t>(field2), static_cast<std::size_t>(field3));
  if (field1 == field3) {
    entries_ = parse(stored);
  } else {
    if (field1 > kMaxInflation * field3) {
      raise<KelborDataException>("Sdf group table claims more bytes than its stream can hold!");
    }
    ByteBlock table(static_cast<std::size_t>(field1));
    const auto length = inflateStream(stored, table.view());
    if (!length) raise<Exception>("Failed to decompress SdfGroup!");
    table.shorten(static_cast<std::size_t>(*length));
    entries_ = parse(table.view());
  }
  field1 = 0;
}

Group::Entries SdfGroup::parse(std::span<const std::byte> table) const {
  ContainerCursor cursor(table);
  Entries entries;
  for (std::uint64_t rest = cursor.readCount(kSmallestRecord); rest > 0; --rest) {
    TableRecord record = readTableRecord(cursor);
    std::unique_ptr<Entry> entry;
    switch (record.type) {
      case kDatasetTag:
        entry = std::make_unique<SdfDataset>(record.fields);
        break;
      case kGroupTag:
        entry = std::make_unique<SdfGroup>(record.fields, tableRegion_);
        break;
      case kAttributeTag:
        entry = std::make_unique<SdfAttribute>(record.fields);
        break;
      case kStringAttributeTag:
        entry = std::make_unique<SdfStringAttribute>(record.fields);
        break;
      default:
        getLogger().error() << "Unsupported SdfEntry type!";
        continue;
    }
    // Records are sorted, so that each belongs at the end: no search in a table of many thousands.
    entries.insert_or_assign(entries.end(), std::move(record.name), std::move(entry));
  }
  return entries;
}

const EntryFields& fieldsOf(const Entry& entry) {
  return dynamic_cast<const SdfObject&>(entry);
}

}  // namespace Kelbor::MathModule
