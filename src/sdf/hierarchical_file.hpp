#pragma once

#include <tbb/spin_rw_mutex.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/provider.hpp"

namespace Kelbor::MathModule {

/// A file that holds datasets in a tree of groups: the interface of a container to the layers
/// above. A group path is "/a/b"; the leading slash is optional, "/" is the root. Operations on
/// datasets are thread-safe.
class HierarchicalFileInterface {
 public:
  /// `context` is borrowed and passed to every provider.
  HierarchicalFileInterface(DataManager* context, std::string fileName, bool writable);
  HierarchicalFileInterface(const HierarchicalFileInterface&) = delete;
  HierarchicalFileInterface& operator=(const HierarchicalFileInterface&) = delete;

  // The order of the virtual functions is fixed.
  virtual ~HierarchicalFileInterface();
  /// True if the group has a dataset of that name, or a group of that name with a dataset ".".
  virtual bool hasDataset(const std::string& groupPath, const std::string& name) = 0;
  /// Inflated bytes of the dataset, 0 if there is none.
  virtual std::uint64_t getDatasetSize(const std::string& groupPath, const std::string& name) = 0;
  /// A UInt8 provider of `count` bytes from `offset`, which reads on demand. A count of 0, or one
  /// beyond the end, means all that follows. Null if there is no such dataset. The file must
  /// outlive the provider.
  virtual std::unique_ptr<DataProvider> getDataProvider(const std::string& groupPath,
                                                        const std::string& name,
                                                        std::uint64_t count,
                                                        std::uint64_t offset) = 0;
  /// Stores a provider's bytes, replacing a dataset of that name. Returns 0; -1 if the file is
  /// read-only, -2 if it can't be opened, -4 if the group can't be created. `storedSize` may be
  /// null; it receives the number of bytes written.
  virtual int writeDataset(const std::string& groupPath, const std::string& name,
                           DataProvider& source, std::uint64_t* storedSize) = 0;
  /// The same for the concatenation of several providers.
  virtual int writeDatasets(const std::string& groupPath, const std::string& name,
                            std::span<DataProvider* const> sources, std::uint64_t* storedSize) = 0;
  /// Append the names of the group's children in their order; none for an unknown group. Always
  /// return 0. Open the file if the pool has closed it.
  virtual int listGroups(const std::string& groupPath, std::vector<std::string>& names) = 0;
  virtual int listDatasets(const std::string& groupPath, std::vector<std::string>& names) = 0;
  virtual int listEntries(const std::string& groupPath, std::vector<std::string>& groups,
                          std::vector<std::string>& datasets) = 0;
  /// 0, or -1 if the path can't be created.
  virtual int createGroup(const std::string& path) = 0;
  /// Opens the stream and reads what is needed to find groups; true on success.
  virtual bool openHandle() = 0;
  /// Closes the stream; true on success.
  virtual bool closeHandle() = 0;

  /// Opens the file if it is closed and adds it to the process-wide pool of open files.
  /// std::runtime_error "Failed to open file". The operations above call it under their lock; other
  /// callers must ensure that no other thread uses the file.
  void ensureOpen();
  /// Closes the stream if it is open. Also removes the file from the pool if `unregister` is set.
  bool closeIfOpen(bool unregister);

  [[nodiscard]] DataManager* getContext() const noexcept { return context_; }
  [[nodiscard]] const std::string& getFileName() const noexcept { return fileName_; }
  [[nodiscard]] bool isWritable() const noexcept { return writable_; }

 protected:
  /// Taken as writer for every access to the stream and the tree.
  tbb::spin_rw_mutex lock_;

 private:
  /// Locks a file while closing it.
  friend class HierarchicalFilePool;

  DataManager* context_;
  std::string fileName_;
  bool writable_;
  bool isOpen_ = false;
};

}  // namespace Kelbor::MathModule
