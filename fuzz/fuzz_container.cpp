// Bytes as a container file: reads everything in the tree, whole and in parts, then rewrites the
// file.

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "contract.hpp"
#include "core/scoped_access.hpp"
#include "sdf/sdf_file.hpp"
#include "support/memory_file.hpp"

namespace {

using namespace morvex::Fuzz;
using Kelbor::MathModule::SdfFile;

Kelbor::DataManager& manager() {
  static Kelbor::DataManager theManager;
  return theManager;
}

/// Reads a tree that may be endless and datasets that may all refer to the same large stream.
class Walk {
 public:
  explicit Walk(SdfFile& file) : file_(file) {}

  void group(const std::string& path, int depth) {
    if (depth > kDeepest || ++groups_ > kMostGroups) return;
    std::vector<std::string> groups;
    std::vector<std::string> datasets;
    expectDefined([&] { file_.listEntries(path, groups, datasets); });
    for (const std::string& name : datasets) dataset(path, name);
    for (const std::string& name : groups) group(path + name + "/", depth + 1);
  }

 private:
  void dataset(const std::string& path, const std::string& name) {
    expectDefined([&] {
      const std::uint64_t size = file_.getDatasetSize(path, name);
      (void)file_.hasDataset(path, name);
      (void)file_.getDatasetInfo(path, name);
      if (bytes_ > kMostBytes) return;
      bytes_ += size;
      read(path, name, 0, 0);
      read(path, name, size / 3, size / 2);
      read(path, name, 1, size);
    });
  }
  void read(const std::string& path, const std::string& name, std::uint64_t count,
            std::uint64_t offset) {
    expectDefined([&] {
      const auto provider = file_.getDataProvider(path, name, count, offset);
      if (provider) (void)Kelbor::ScopedConstDataAny(provider.get()).bytes();
    });
  }

  static constexpr int kDeepest = 6;
  static constexpr int kMostGroups = 200;
  static constexpr std::uint64_t kMostBytes = 1U << 22;

  SdfFile& file_;
  int groups_ = 0;
  std::uint64_t bytes_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const morvex::MemoryFile memory;
  memory.set(std::as_bytes(std::span(data, size)));
  {
    SdfFile file(&manager(), memory.path(), /*writable=*/false, "", /*compress=*/false);
    Walk(file).group("/", 0);
  }
  SdfFile file(&manager(), memory.path(), /*writable=*/true, "", /*compress=*/size % 2 == 0);
  expectDefined([&] {
    Kelbor::DataProvider source(&manager(), Kelbor::DataDimension(Kelbor::DataTypes::kUInt8, {32}));
    const std::vector<std::uint8_t> content(32, 7);
    source.copyMemory(content.data(), content.size());
    file.writeDataset("/kelbor/new", "dataset", source, nullptr);
  });
  return 0;
}
