#include "writer/result_image.hpp"

#include <filesystem>
#include <stdexcept>

#include "core/data_manager.hpp"
#include "core/provider.hpp"
#include "sdf/sdf_file.hpp"

namespace morvex::Writer {
namespace {

/// Records may be stored deflated; bulk data is compressed already and read in part.
bool isRecord(std::string_view path) {
  return path.starts_with("/kelbor/") || path.starts_with("/timesets/") ||
         path.starts_with("/filesets/");
}

void store(Kelbor::MathModule::SdfFile& file, Kelbor::DataManager& manager, const std::string& path,
           const Bytes& content) {
  Kelbor::DataProvider source(
      &manager, Kelbor::DataDimension(Kelbor::DataTypes::kUInt8, {std::uint64_t{content.size()}}));
  source.copyMemory(content.data(), content.size());
  const std::size_t slash = path.rfind('/');
  if (file.writeDataset(path.substr(0, slash), path.substr(slash + 1), source, nullptr) != 0) {
    throw std::runtime_error("Can't write dataset " + path);
  }
}

}  // namespace

Bytes& ResultImage::operator[](std::string_view path) {
  const auto found = datasets_.find(path);
  if (found != datasets_.end()) return found->second;
  return datasets_.emplace(path, Bytes{}).first->second;
}

const Bytes& ResultImage::at(std::string_view path) const {
  const auto found = datasets_.find(path);
  if (found == datasets_.end()) throw std::out_of_range("No dataset " + std::string(path));
  return found->second;
}

bool ResultImage::contains(std::string_view path) const {
  return datasets_.find(path) != datasets_.end();
}

bool ResultImage::erase(std::string_view path) {
  const auto found = datasets_.find(path);
  if (found == datasets_.end()) return false;
  datasets_.erase(found);
  return true;
}

void ResultImage::write(const std::string& path, bool deflateRecords) const {
  std::filesystem::remove(path);
  static Kelbor::DataManager manager;
  // A container object deflates either everything that it adds or nothing, hence two in turn.
  for (const bool records : {true, false}) {
    Kelbor::MathModule::SdfFile file(&manager, path, /*writable=*/true, /*flavour=*/"",
                                     /*compress=*/records && deflateRecords);
    file.ensureOpen();  // also without datasets
    for (const auto& [name, content] : datasets_) {
      if (isRecord(name) == records) store(file, manager, name, content);
    }
  }
}

}  // namespace morvex::Writer
