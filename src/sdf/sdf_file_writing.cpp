#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <set>
#include <vector>

#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "sdf/sdf_file.hpp"
#include "sdf/sdf_format.hpp"

/// The functions of SdfFile that change a file.
namespace Kelbor::MathModule {
namespace {

constexpr int kNotWritable = -1;
constexpr int kNotOpen = -2;

/// Groups are written by recursion, so their depth is limited; no reader needs nearly as many
/// levels.
constexpr std::size_t kMaxGroupDepth = 1000;

using WriteLock = tbb::spin_rw_mutex::scoped_lock;
using Bytes = std::span<const std::byte>;

/// True for data that begins like a zlib stream or an encoded dataset.
bool looksCompressed(Bytes bytes) {
  if (bytes.empty()) return false;
  const auto first = std::to_integer<char>(bytes.front());
  return first == 0x78 || first == 0x28;
}

/// Loads the whole tree before a byte of it is overwritten. In a valid file no two groups share a
/// table; tables that do could form an endless tree.
class TreeLoader {
 public:
  void load(SdfGroup& group, std::size_t depth = 0) {
    if (depth > kMaxGroupDepth) raise<KelborDataException>("Sdf groups are nested too deeply!");
    if (group.isStored() && !tablePositions_.insert(group.tablePosition()).second) {
      raise<KelborDataException>("Sdf groups share their table!");
    }
    for (SdfEntry& entry : group.getEntries()) {
      if (entry.isGroup()) load(group.enter(entry), depth + 1);
    }
  }

 private:
  std::set<std::uint64_t> tablePositions_;
};

/// Appends the tables of a loaded group and of all groups below it, children first. Returns the new
/// position of the group's own table.
SdfObject writeTables(SdfGroup& group, std::vector<std::byte>& region) {
  std::vector<std::byte> table;
  writeNumber(table, group.getEntries().size());
  for (SdfEntry& entry : group.getEntries()) {
    if (entry.isGroup()) entry.object = writeTables(group.enter(entry), region);
    writeTableRecord(table, entry.type, entry.name.text(), entry.object);
  }
  const Bytes plain = table;
  const auto deflated = deflateIfShorter({&plain, 1});
  const Bytes stored = deflated ? deflated->view() : plain;
  const SdfObject place{plain.size(), region.size(), stored.size()};
  region.insert(region.end(), stored.begin(), stored.end());
  return place;
}

}  // namespace

int SdfFile::writeDataset(const std::string& groupPath, const std::string& name,
                          DataProvider& source, std::uint64_t* storedSize) {
  DataProvider* const sources[] = {&source};
  return writeDatasets(groupPath, name, sources, storedSize);
}

int SdfFile::writeDatasets(const std::string& groupPath, const std::string& name,
                           std::span<DataProvider* const> sources, std::uint64_t* storedSize) {
  if (!isWritable()) return kNotWritable;
  std::deque<ScopedConstDataAny> accesses;
  std::vector<Bytes> bytes;
  for (DataProvider* source : sources) bytes.push_back(accesses.emplace_back(source).bytes());
  return storeDataset(groupPath, name, bytes, storedSize);
}

int SdfFile::createGroup(const std::string& path) {
  if (!isWritable()) return -1;
  const WriteLock guard(lock_, /*write=*/true);
  ensureOpen();
  recentGroup_ = nullptr;
  (void)rootGroup_->getOrCreateGroup(path);
  return 0;
}

int SdfFile::storeDataset(const std::string& groupPath, const std::string& name,
                          std::span<const Bytes> sources, std::uint64_t* storedSize) {
  SdfObject fields;
  for (const Bytes source : sources) fields.field1 += source.size();
  const bool isInline = fields.field1 <= kMaxInlineSize;
  std::optional<ByteBlock> deflated;
  if (compress_ && !isInline && !looksCompressed(sources.back())) {
    deflated = deflateIfShorter(sources);
  }

  const WriteLock guard(lock_, /*write=*/true);
  if (!tryToOpen()) return kNotOpen;
  recentGroup_ = nullptr;
  SdfGroup& group = rootGroup_->getOrCreateGroup(groupPath);

  if (isInline) {
    std::array<std::byte, kMaxInlineSize> bytes{};
    auto at = bytes.begin();
    for (const Bytes source : sources) at = std::ranges::copy(source, at).out;
    setInlineBytes(fields, bytes);
  } else {
    fields.field2 = writeOffset_;
    if (deflated) {
      fields.field3 = deflated->view().size();
      append(deflated->view());
    } else {
      for (const Bytes source : sources) append(source);
    }
  }
  group.addEntry(name, kDatasetTag, fields);
  if (storedSize) *storedSize = deflated ? fields.field3 : fields.field1;
  return 0;
}

bool SdfFile::startNewFile() {
  FileHeader header;
  header.flavour = flavour_;
  std::vector<std::byte> bytes;
  writeFileHeader(bytes, header);
  writeAt(0, bytes);
  writeOffset_ = kHeaderSize;
  rootGroup_ = std::make_unique<SdfGroup>();
  return true;
}

void SdfFile::append(Bytes bytes) {
  writeAt(writeOffset_, bytes);
  writeOffset_ += bytes.size();
}

void SdfFile::writeAt(std::uint64_t position, Bytes bytes) {
  if (!stream_.seek(position) || !stream_.write(bytes)) {
    raise<KelborDataException>("Failed to write to Sdf file!");
  }
  fileSize_ = std::max<std::uint64_t>(fileSize_, position + bytes.size());
}

void SdfFile::finish() {
  ensureOpen();  // the pool may have closed it
  TreeLoader().load(*rootGroup_);
  std::vector<std::byte> region;
  const SdfObject root = writeTables(*rootGroup_, region);
  writeSdfObject(region, root);

  // The trailer is found from the file's end, and the file never shrinks. If the new tables are
  // shorter than the old ones, they are written so that they end where those did.
  std::uint64_t tableOffset = writeOffset_;
  if (fileSize_ > region.size()) tableOffset = std::max(tableOffset, fileSize_ - region.size());
  writeAt(tableOffset, region);

  std::vector<std::byte> offsetBytes;
  writeNumber(offsetBytes, tableOffset);
  writeAt(kTableOffsetPosition, offsetBytes);
  if (!closeIfOpen(/*unregister=*/true)) raise<KelborDataException>("Failed to write to Sdf file!");
  recentGroup_ = nullptr;
  rootGroup_.reset();
}

}  // namespace Kelbor::MathModule
