#include "sdf/sdf_file.hpp"

#include <array>
#include <stdexcept>
#include <utility>

#include "core/error.hpp"
#include "sdf/sdf_format.hpp"
#include "sdf/sdf_provider.hpp"

namespace Kelbor::MathModule {
namespace {

using WriteLock = tbb::spin_rw_mutex::scoped_lock;

}  // namespace

SdfFile::SdfFile(DataManager* context, std::string fileName, bool writable,
                 const std::string& flavour, bool compress)
    : HierarchicalFileInterface(context, std::move(fileName), writable),
      flavour_(flavourOf(flavour)),
      compress_(compress) {}

SdfFile::~SdfFile() {
  const WriteLock guard(lock_, /*write=*/true);
  if (isWritable() && rootGroup_) {
    try {
      finish();
    } catch (...) {  // logged where it was raised
      getLogger().error() << "Failed to finish file: " << getFileName();
    }
  }
  closeIfOpen(/*unregister=*/true);
}

bool SdfFile::hasDataset(const std::string& groupPath, const std::string& name) {
  const WriteLock guard(lock_, /*write=*/true);
  ensureOpen();
  SdfGroup* group = findGroup(groupPath);
  SdfEntry* entry = group ? group->getEntry(name) : nullptr;
  if (entry && entry->isGroup()) entry = group->enter(*entry).getEntry(kOwnDataset);
  return entry && entry->isDataset();
}

std::uint64_t SdfFile::getDatasetSize(const std::string& groupPath, const std::string& name) {
  const auto fields = findDataset(groupPath, name);
  return fields ? fields->field1 : 0;
}

std::unique_ptr<DataProvider> SdfFile::getDataProvider(const std::string& groupPath,
                                                       const std::string& name, std::uint64_t count,
                                                       std::uint64_t offset) {
  const auto fields = findDataset(groupPath, name);
  return fields ? providerOf(*fields, count, offset) : nullptr;
}

std::unique_ptr<DataProvider> SdfFile::providerOf(const SdfObject& fields, std::uint64_t count,
                                                  std::uint64_t offset) {
  const std::uint64_t available = fields.field1 > offset ? fields.field1 - offset : 0;
  if (count == 0 || count > available) count = available;
  return std::make_unique<SdfDataProvider>(fields, count, *this, offset);
}

std::optional<DatasetInfo> SdfFile::getDatasetInfo(const std::string& groupPath,
                                                   const std::string& name) {
  const auto fields = findDataset(groupPath, name);
  if (!fields) return std::nullopt;
  DatasetInfo info{.logicalSize = fields->field1};
  if (fields->field1 > kMaxInlineSize) {
    const bool plain = fields->field3 == 0;
    info.storage = plain ? DatasetInfo::Storage::kPlain : DatasetInfo::Storage::kDeflated;
    info.storedSize = plain ? fields->field1 : fields->field3;
  }
  return info;
}

int SdfFile::listGroups(const std::string& groupPath, std::vector<std::string>& names) {
  std::vector<std::string> datasets;
  return listEntries(groupPath, names, datasets);
}

int SdfFile::listDatasets(const std::string& groupPath, std::vector<std::string>& names) {
  std::vector<std::string> groups;
  return listEntries(groupPath, groups, names);
}

int SdfFile::listEntries(const std::string& groupPath, std::vector<std::string>& groups,
                         std::vector<std::string>& datasets) {
  const WriteLock guard(lock_, /*write=*/true);
  ensureOpen();
  SdfGroup* group = findGroup(groupPath);
  if (!group) return 0;
  for (const SdfEntry& entry : group->getEntries()) {
    if (entry.isGroup()) groups.emplace_back(entry.name.text());
    if (entry.isDataset()) datasets.emplace_back(entry.name.text());
  }
  return 0;
}

bool SdfFile::openHandle() {
  const bool opened = openStream() && isSameFile() && (rootGroup_ || readTables());
  if (opened) return true;
  stream_.close();
  return false;
}

bool SdfFile::closeHandle() {
  // The tree of a writable file holds unsaved changes and refers to the table region, so both stay.
  if (!isWritable()) {
    recentGroup_ = nullptr;
    rootGroup_.reset();
    tableRegion_ = ByteBlock();
  }
  return stream_.close();
}

bool SdfFile::hasStoredBytes(std::uint64_t position, std::uint64_t count) {
  const WriteLock guard(lock_, /*write=*/true);
  return tryToOpen() && position <= fileSize_ && count <= fileSize_ - position;
}

bool SdfFile::readStoredBytes(std::uint64_t position, std::span<std::byte> target) {
  const WriteLock guard(lock_, /*write=*/true);
  return tryToOpen() && stream_.readAt(position, target) == target.size();
}

std::optional<SdfObject> SdfFile::findDataset(const std::string& groupPath,
                                              const std::string& name) {
  const WriteLock guard(lock_, /*write=*/true);
  ensureOpen();
  SdfGroup* group = findGroup(groupPath);
  const SdfEntry* entry = group ? group->getEntry(name) : nullptr;
  if (!entry || !entry->isDataset()) return std::nullopt;
  return entry->object;
}

SdfGroup* SdfFile::findGroup(const std::string& path) {
  if (!recentGroup_ || path != recentPath_) {
    recentGroup_ = nullptr;
    recentPath_ = path;
    recentGroup_ = rootGroup_->getGroupByPath(path);
  }
  return recentGroup_;
}

bool SdfFile::tryToOpen() {
  try {
    ensureOpen();
    return true;
  } catch (const std::runtime_error&) {
    return false;
  }
}

bool SdfFile::openStream() {
  stream_ = Platform::FileStream::open(getFileName(), isWritable() ? "rb+" : "rb");
  // A file whose tree is in memory must not be created anew: its payloads would be lost.
  if (!stream_.isOpen() && isWritable() && !rootGroup_) {
    stream_ = Platform::FileStream::open(getFileName(), "wb+");
  }
  return stream_.isOpen();
}

bool SdfFile::isSameFile() {
  if (isWritable()) return true;
  const Platform::FileIdentity now = stream_.identity();
  if (!identity_) identity_ = now;
  if (*identity_ == now) return true;
  getLogger().error() << "The file has changed since it was opened!";
  return false;
}

bool SdfFile::readTables() {
  fileSize_ = stream_.size();
  if (fileSize_ < kSmallestFile) return isWritable() && startNewFile();

  std::array<std::byte, kHeaderSize> headerBytes;
  if (!stream_.seek(0) || stream_.read(headerBytes) != headerBytes.size()) return false;
  ContainerCursor headerCursor(headerBytes);
  const FileHeader header = readFileHeader(headerCursor);
  if (header.magic != kMagic) {
    getLogger().error() << "File is no Sdf-File!";
    return false;
  }
  if (header.version > kVersion) {
    getLogger().warning() << "SDF versions do not match!";
  } else if (flavour_ != 0 && header.version >= kFirstVersionWithFlavour &&
             flavour_ != header.flavour) {
    getLogger().warning() << "SDF flavours do not match!";
  }
  if (header.tableOffset == 0) return false;
  if (header.tableOffset > fileSize_ - kFieldsSize) {
    getLogger().error() << "Sdf table region lies beyond the file!";
    return false;
  }

  tableRegion_ = ByteBlock(static_cast<std::size_t>(fileSize_ - header.tableOffset));
  const std::span<std::byte> region = tableRegion_.view();
  if (!stream_.seek(header.tableOffset) || stream_.read(region) != region.size()) return false;
  ContainerCursor trailer(region.last(kFieldsSize));
  rootGroup_ = std::make_unique<SdfGroup>(readSdfObject(trailer), region);
  writeOffset_ = header.tableOffset;
  return true;
}

}  // namespace Kelbor::MathModule
