#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/file_stream.hpp"
#include "sdf/hierarchical_file.hpp"
#include "sdf/sdf_compression.hpp"
#include "sdf/sdf_group.hpp"

namespace Kelbor::MathModule {

/// How a file stores a dataset.
struct DatasetInfo {
  enum class Storage { kInlined, kPlain, kDeflated };
  Storage storage = Storage::kInlined;
  std::uint64_t logicalSize = 0;
  /// Bytes in the payload region; 0 for an inlined dataset.
  std::uint64_t storedSize = 0;
};

/// A container file. Opening reads the table region at once; a group's table is parsed when the
/// group is first accessed, payloads are read when their provider is prepared. Between two
/// operations the pool may close the stream, which opens again on demand. A writable file gets its
/// final form in the destructor.
class SdfFile : public HierarchicalFileInterface {
 public:
  /// `flavour`: the mark that the file should carry, or will carry if it is new. Only four
  /// characters count; an empty one matches all. `compress`: deflates written data if that makes it
  /// shorter.
  SdfFile(DataManager* context, std::string fileName, bool writable, const std::string& flavour,
          bool compress);
  /// Finishes a writable file: writes the tables and the trailer. Logs a failure; the header then
  /// still points to the previous tables.
  ~SdfFile() override;

  bool hasDataset(const std::string& groupPath, const std::string& name) override;
  std::uint64_t getDatasetSize(const std::string& groupPath, const std::string& name) override;
  std::unique_ptr<DataProvider> getDataProvider(const std::string& groupPath,
                                                const std::string& name, std::uint64_t count,
                                                std::uint64_t offset) override;
  int writeDataset(const std::string& groupPath, const std::string& name, DataProvider& source,
                   std::uint64_t* storedSize) override;
  int writeDatasets(const std::string& groupPath, const std::string& name,
                    std::span<DataProvider* const> sources, std::uint64_t* storedSize) override;
  int listGroups(const std::string& groupPath, std::vector<std::string>& names) override;
  int listDatasets(const std::string& groupPath, std::vector<std::string>& names) override;
  int listEntries(const std::string& groupPath, std::vector<std::string>& groups,
                  std::vector<std::string>& datasets) override;
  int createGroup(const std::string& path) override;
  bool openHandle() override;
  bool closeHandle() override;

  /// The dataset's entry, for callers that open it repeatedly; empty if there is none.
  [[nodiscard]] std::optional<SdfObject> findDataset(const std::string& groupPath,
                                                     const std::string& name);
  /// Like getDataProvider(), for a known entry.
  [[nodiscard]] std::unique_ptr<DataProvider> providerOf(const SdfObject& fields,
                                                         std::uint64_t count, std::uint64_t offset);

  /// The file being read; empty until it was first opened for reading.
  [[nodiscard]] const std::optional<Platform::FileIdentity>& identity() const noexcept {
    return identity_;
  }
  /// Refuses every other file from now on, including at the first opening.
  void expect(const Platform::FileIdentity& identity) { identity_ = identity; }

  /// Empty if there is no such dataset.
  [[nodiscard]] std::optional<DatasetInfo> getDatasetInfo(const std::string& groupPath,
                                                          const std::string& name);

  /// True if the file opens and has these bytes. To be checked before memory is allocated for them.
  [[nodiscard]] bool hasStoredBytes(std::uint64_t position, std::uint64_t count);
  /// Fills `target` from the file; false on failure or early end.
  [[nodiscard]] bool readStoredBytes(std::uint64_t position, std::span<std::byte> target);

 private:
  /// Null if there is none. Requires an open file.
  [[nodiscard]] SdfGroup* findGroup(const std::string& path);
  [[nodiscard]] bool tryToOpen();
  [[nodiscard]] bool openStream();
  /// False, after an ERROR line, if the path now leads to another file.
  [[nodiscard]] bool isSameFile();
  [[nodiscard]] bool readTables();
  [[nodiscard]] bool startNewFile();

  int storeDataset(const std::string& groupPath, const std::string& name,
                   std::span<const std::span<const std::byte>> sources, std::uint64_t* storedSize);
  void append(std::span<const std::byte> bytes);
  void writeAt(std::uint64_t position, std::span<const std::byte> bytes);
  void finish();

  Platform::FileStream stream_;
  std::optional<Platform::FileIdentity> identity_;
  std::unique_ptr<SdfGroup> rootGroup_;
  /// The last group looked up, since look-ups come in runs. Null once groups may have changed.
  SdfGroup* recentGroup_ = nullptr;
  std::string recentPath_;
  /// Position of the next payload or of the table region. 0 if the file is no container.
  std::uint64_t writeOffset_ = 0;
  std::uint64_t fileSize_ = 0;
  std::uint32_t flavour_;
  bool compress_;
  /// The tables as read when the file was opened; groups that are not loaded refer to it.
  ByteBlock tableRegion_;
};

}  // namespace Kelbor::MathModule
