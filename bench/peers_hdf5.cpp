#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "peers_common.hpp"

#if MORVEX_BENCH_HDF5
#include <hdf5.h>

namespace morvex::Bench {
namespace {

constexpr unsigned kDeflateLevel = 4;
// 256 KiB: fits HDF5's chunk cache.
constexpr hsize_t kChunkValues = 65536;

/// An HDF5 handle, closed with the function for its kind.
class Handle {
 public:
  Handle(hid_t id, herr_t (*end)(hid_t)) : id_(id), end_(end) {
    if (id < 0) throw std::runtime_error("HDF5 failed");
  }
  ~Handle() { end_(id_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  operator hid_t() const { return id_; }

 private:
  hid_t id_;
  herr_t (*end_)(hid_t);
};

void require(herr_t status) {
  if (status < 0) throw std::runtime_error("HDF5 failed");
}

void writeDataset(hid_t parent, const std::string& name, hid_t type, std::size_t count,
                  const void* values) {
  const hsize_t size = count;
  const hsize_t chunk = std::min(size, kChunkValues);
  const Handle space(H5Screate_simple(1, &size, nullptr), H5Sclose);
  const Handle properties(H5Pcreate(H5P_DATASET_CREATE), H5Pclose);
  require(H5Pset_chunk(properties, 1, &chunk));
  require(H5Pset_shuffle(properties));
  require(H5Pset_deflate(properties, kDeflateLevel));
  const Handle dataset(
      H5Dcreate2(parent, name.c_str(), type, space, H5P_DEFAULT, properties, H5P_DEFAULT),
      H5Dclose);
  require(H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, values));
}

void readDataset(hid_t parent, const std::string& name, hid_t type, void* values) {
  const Handle dataset(H5Dopen2(parent, name.c_str(), H5P_DEFAULT), H5Dclose);
  require(H5Dread(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, values));
}

hid_t createFile(const std::string& path) {
  const Handle access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose);
  require(H5Pset_libver_bounds(access, H5F_LIBVER_LATEST, H5F_LIBVER_LATEST));
  return H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access);
}

hid_t openFile(const std::string& path) {
  return H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
}

class Hdf5Arrays final : public Peer {
 public:
  Hdf5Arrays(const Arrays& arrays, const Steps& steps, const std::string& path)
      : path_(path),
        steps_(steps),
        name_(steps.empty() ? "HDF5 floats, shuffle + deflate 4"
                            : "HDF5 integers, shuffle + deflate 4") {
    {
      const Handle file(createFile(path), H5Fclose);
      for (std::size_t i = 0; i < arrays.size(); ++i) {
        const std::string name = std::to_string(i);
        if (steps.empty()) {
          writeDataset(file, name, H5T_NATIVE_FLOAT, arrays[i].size(), arrays[i].data());
        } else {
          const auto words = quantised(arrays[i], steps[i]);
          writeDataset(file, name, H5T_NATIVE_INT32, words.size(), words.data());
        }
      }
    }
    storedBytes_ = std::filesystem::file_size(path);
  }
  [[nodiscard]] const std::string& name() const override { return name_; }
  [[nodiscard]] std::uint64_t storedBytes() const override { return storedBytes_; }

  void readAll(Arrays& arrays) override {
    const Handle file(openFile(path_), H5Fclose);
    for (std::size_t i = 0; i < arrays.size(); ++i) {
      const std::string name = std::to_string(i);
      if (steps_.empty()) {
        readDataset(file, name, H5T_NATIVE_FLOAT, arrays[i].data());
      } else {
        words_.resize(arrays[i].size());
        readDataset(file, name, H5T_NATIVE_INT32, words_.data());
        scale(words_, steps_[i], arrays[i]);
      }
    }
  }

 private:
  std::string path_;
  Steps steps_;
  std::string name_;
  std::uint64_t storedBytes_ = 0;
  std::vector<std::int32_t> words_;
};

std::string nameOf(std::uint32_t variable, std::uint32_t step, std::uint32_t part) {
  return "variable/variable_" + std::to_string(variable) + "/" + std::to_string(step) + "/" +
         std::to_string(part);
}

}  // namespace

void addHdf5Peers(const Arrays& arrays, const Steps& steps, const std::string& directory,
                  std::vector<std::unique_ptr<Peer>>& peers) {
  peers.push_back(std::make_unique<Hdf5Arrays>(
      arrays, steps, directory + (steps.empty() ? "/floats.h5" : "/integers.h5")));
}

bool Hdf5Tree::isAvailable() {
  return true;
}

void Hdf5Tree::write(const std::string& path, const Arrays& distinct, std::uint32_t parts,
                     std::uint32_t steps, double quantisationStep) {
  const Handle file(createFile(path), H5Fclose);
  const Handle links(H5Pcreate(H5P_LINK_CREATE), H5Pclose);
  require(H5Pset_create_intermediate_group(links, 1));
  for (std::uint32_t i = 0; i < distinct.size(); i += parts) {
    for (std::uint32_t step = 0; step < steps; ++step) {
      const std::string path0 = nameOf(i / parts, step, 0);
      const Handle group(H5Gcreate2(file, path0.substr(0, path0.rfind('/')).c_str(), links,
                                    H5P_DEFAULT, H5P_DEFAULT),
                         H5Gclose);
      for (std::uint32_t part = 0; part < parts; ++part) {
        const auto words = quantised(distinct[i + part], quantisationStep);
        writeDataset(group, std::to_string(part), H5T_NATIVE_INT32, words.size(), words.data());
      }
    }
  }
}

Hdf5Tree::Hdf5Tree(const std::string& path) : file_(openFile(path)) {
  if (file_ < 0) throw std::runtime_error("HDF5 failed");
}

Hdf5Tree::~Hdf5Tree() {
  H5Fclose(file_);
}

void Hdf5Tree::read(std::uint32_t variable, std::uint32_t step, std::uint32_t part,
                    double quantisationStep, std::vector<float>& values) {
  words_.resize(values.size());
  readDataset(file_, nameOf(variable, step, part), H5T_NATIVE_INT32, words_.data());
  scale(words_, quantisationStep, values);
}

std::uint64_t Hdf5Tree::countEntries() {
  std::uint64_t count = 0;
  require(H5Lvisit(
      file_, H5_INDEX_NAME, H5_ITER_NATIVE,
      [](hid_t, const char*, const H5L_info_t*, void* counter) {
        ++*static_cast<std::uint64_t*>(counter);
        return herr_t{0};
      },
      &count));
  return count;
}

}  // namespace morvex::Bench

#else

namespace morvex::Bench {

void addHdf5Peers(const Arrays&, const Steps&, const std::string&,
                  std::vector<std::unique_ptr<Peer>>&) {}
bool Hdf5Tree::isAvailable() {
  return false;
}
void Hdf5Tree::write(const std::string&, const Arrays&, std::uint32_t, std::uint32_t, double) {}
Hdf5Tree::Hdf5Tree(const std::string&) : file_(-1) {}
Hdf5Tree::~Hdf5Tree() = default;
void Hdf5Tree::read(std::uint32_t, std::uint32_t, std::uint32_t, double, std::vector<float>&) {
  throw std::logic_error("Built without HDF5");
}
std::uint64_t Hdf5Tree::countEntries() {
  return 0;
}

}  // namespace morvex::Bench

#endif
