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
#include "sdf/sdf_objects.hpp"

namespace Kelbor::MathModule {

/// How a dataset stands in its file.
struct DatasetInfo {
  enum class Storage { inlined, plain, deflated };
  Storage storage = Storage::inlined;
  std::uint64_t logicalSize = 0;
  /// Bytes in the payload region; 0 where the dataset is inlined.
  std::uint64_t storedSize = 0;
};

/// A container file. Opening reads the table region in one go; tables are parsed when a group is
/// first looked into, payloads are read when a provider is prepared. The pool may close the stream
/// at any time between two operations; it opens again on demand.
/// A writable file takes its final form when the object ends, and not before.
class SdfFile : public HierarchicalFileInterface {
 public:
  /// `flavour`: the mark that the file is expected to carry, or will carry if it is new; only four
  /// characters count, and an empty one expects nothing. `compress`: deflate what is written where
  /// that makes it shorter.
  SdfFile(DataManager* context, std::string fileName, bool writable, const std::string& flavour,
          bool compress);
  /// Finishes a writable file: writes the tables and the trailer. A failure is logged; the header
  /// then still points where it did.
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

  /// The dataset's entry, for those who open it more than once; nothing if there is none.
  [[nodiscard]] std::optional<EntryFields> findDataset(const std::string& groupPath,
                                                       const std::string& name);
  /// As getDataProvider, for an entry that has been found.
  [[nodiscard]] std::unique_ptr<DataProvider> providerOf(const EntryFields& fields,
                                                         std::uint64_t count, std::uint64_t offset);

  /// Nothing if there is no such dataset.
  [[nodiscard]] std::optional<DatasetInfo> getDatasetInfo(const std::string& groupPath,
                                                          const std::string& name);

  /// True if the file can be opened and has these bytes: to be asked before memory is allocated
  /// for them.
  [[nodiscard]] bool hasStoredBytes(std::uint64_t position, std::uint64_t count);
  /// Fills `target` from the file; false if that fails or ends early.
  [[nodiscard]] bool readStoredBytes(std::uint64_t position, std::span<std::byte> target);

 private:
  /// Null if there is none. The file is open.
  [[nodiscard]] SdfGroup* findGroup(const std::string& path);
  [[nodiscard]] bool tryToOpen();
  [[nodiscard]] bool openStream();
  [[nodiscard]] bool readTables();
  [[nodiscard]] bool startNewFile();

  int storeDataset(const std::string& groupPath, const std::string& name,
                   std::span<const std::span<const std::byte>> sources, std::uint64_t* storedSize);
  void append(std::span<const std::byte> bytes);
  void writeAt(std::uint64_t position, std::span<const std::byte> bytes);
  void finish();

  Platform::FileStream stream_;
  std::unique_ptr<SdfGroup> rootGroup_;
  /// The group that was looked for last: questions come in runs about one. Null where groups may
  /// have changed since.
  SdfGroup* recentGroup_ = nullptr;
  std::string recentPath_;
  /// Position of the next payload, or of the table region. 0 marks a file that is no container.
  std::uint64_t writeOffset_ = 0;
  std::uint64_t fileSize_ = 0;
  std::uint32_t flavour_;
  bool compress_;
  /// The tables as they stood when the file was opened; groups that are not loaded refer to it.
  ByteBlock tableRegion_;
};

}  // namespace Kelbor::MathModule
