#include "sdf/sdf_group.hpp"

#include <algorithm>
#include <utility>

#include "core/error.hpp"
#include "inflate/limits.hpp"

namespace Kelbor::MathModule {
namespace {

/// Removes the first component from a path; the rest keeps its slashes.
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

bool isKnownTag(char type) {
  return type == kDatasetTag || type == kGroupTag || type == kAttributeTag ||
         type == kStringAttributeTag;
}

/// The entry of a record with a known tag.
SdfEntry entryOf(const TableRecord& record) {
  const EntryName name(record.name);
  switch (record.type) {
    case kDatasetTag:
      return SdfDataset(name, record.object);
    case kAttributeTag:
      return SdfAttribute(name, record.object);
    case kStringAttributeTag:
      return SdfStringAttribute(name, record.object);
    default:
      return {{name, kGroupTag}, record.object};
  }
}

/// Records are usually written in order, and then a table of many thousands needs no sorting.
/// Otherwise sorts; of records with the same name the last one counts.
void sortByName(SdfGroup::Entries& entries) {
  const auto outOfOrder = [](const SdfEntry& a, const SdfEntry& b) { return a.name >= b.name; };
  if (std::ranges::adjacent_find(entries, outOfOrder) == entries.end()) return;
  std::ranges::reverse(entries);
  std::ranges::stable_sort(entries, {}, &SdfEntry::name);
  // clang 14 can't compile the range that this library's std::ranges::unique returns.
  const auto sameName = [](const SdfEntry& a, const SdfEntry& b) { return a.name == b.name; };
  entries.erase(std::unique(entries.begin(), entries.end(), sameName), entries.end());
}

}  // namespace

EntryName::EntryName(std::string_view text) noexcept : first_(0), text_(text) {
  for (std::size_t i = 0; i < sizeof first_; ++i) {
    const auto byte = i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    first_ = first_ << 8U | byte;
  }
}

SdfGroup* SdfGroup::getGroupByPath(std::string_view path) {
  SdfGroup* group = this;
  while (true) {
    path = skipSlash(path);
    if (path.empty()) break;
    SdfEntry* entry = group->getEntry(takeComponent(path));
    if (!entry || !entry->isGroup()) return nullptr;
    group = &group->enter(*entry);
  }
  (void)group->getEntries();
  return group;
}

SdfGroup& SdfGroup::getOrCreateGroup(std::string_view path) {
  SdfGroup* group = this;
  while (true) {
    group->load();
    path = skipSlash(path);
    if (path.empty()) return *group;
    SdfEntry& entry = group->obtain(cutAtZero(takeComponent(path)));
    if (!entry.isGroup()) {
      auto made = std::make_unique<SdfGroup>();
      if (entry.type != 0) made->addEntry(kOwnDataset, entry.type, entry.object);
      entry.type = kGroupTag;
      entry.object = {};
      entry.group = std::move(made);
    }
    group = &group->enter(entry);
  }
}

SdfGroup& SdfGroup::enter(SdfEntry& entry) const {
  if (!entry.group) entry.group = std::make_unique<SdfGroup>(entry.object, tableRegion_);
  return *entry.group;
}

SdfEntry* SdfGroup::getEntry(std::string_view name) {
  Entries& entries = getEntries();
  const EntryName wanted(cutAtZero(name));
  const auto found = std::ranges::lower_bound(entries, wanted, {}, &SdfEntry::name);
  return found == entries.end() || found->name != wanted ? nullptr : &*found;
}

void SdfGroup::addEntry(std::string_view name, char type, const SdfObject& object) {
  SdfEntry& entry = obtain(cutAtZero(name));
  entry.type = type;
  entry.object = object;
  entry.group.reset();
}

SdfGroup::Entries& SdfGroup::getEntries() {
  if (entries_.empty()) load();
  return entries_;
}

SdfEntry& SdfGroup::obtain(std::string_view name) {
  const EntryName wanted(name);
  const auto place = std::ranges::lower_bound(entries_, wanted, {}, &SdfEntry::name);
  if (place != entries_.end() && place->name == wanted) return *place;
  addedNames_.emplace_front(name);
  return *entries_.insert(place, SdfEntry{{.name = EntryName(addedNames_.front())}});
}

void SdfGroup::load() {
  const auto& [size, position, storedSize] = table_;
  if (size == 0 || tableRegion_.empty()) return;
  if (position > tableRegion_.size() || storedSize > tableRegion_.size() - position) {
    raise<KelborDataException>("Sdf group table lies beyond the table region!");
  }
  const auto stored = tableRegion_.subspan(static_cast<std::size_t>(position),
                                           static_cast<std::size_t>(storedSize));
  if (size == storedSize) {
    entries_ = parse(stored);
  } else {
    if (size > Inflate::kMaxInflation * storedSize) {
      raise<KelborDataException>("Sdf group table claims more bytes than its stream can hold!");
    }
    ByteBlock table(static_cast<std::size_t>(size));
    const auto length = inflateStream(stored, table.view());
    if (!length) raise<Exception>("Failed to decompress SdfGroup!");
    table.shorten(static_cast<std::size_t>(*length));
    entries_ = parse(table.view());
    inflatedTable_ = std::move(table);
  }
  table_.field1 = 0;
}

SdfGroup::Entries SdfGroup::parse(std::span<const std::byte> table) const {
  ContainerCursor cursor(table);
  std::uint64_t rest = cursor.readCount(kSmallestRecord);
  Entries entries;
  entries.reserve(static_cast<std::size_t>(rest));
  for (; rest > 0; --rest) {
    const TableRecord record = readTableRecord(cursor);
    if (!isKnownTag(record.type)) {
      getLogger().error() << "Unsupported SdfEntry type!";
      continue;
    }
    entries.push_back(entryOf(record));
  }
  sortByName(entries);
  return entries;
}

}  // namespace Kelbor::MathModule
