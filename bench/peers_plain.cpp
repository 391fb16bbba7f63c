// Lower bounds for every way of storing: reading the floats unchanged, and copying them.

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "peers_common.hpp"

namespace morvex::Bench {
namespace {

class RawFile final : public Peer {
 public:
  RawFile(const Arrays& arrays, const std::string& path) : path_(path) {
    const int file = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    for (const auto& values : arrays) {
      const auto bytes = std::as_bytes(std::span(values));
      if (::write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("Can't write " + path);
      }
      storedBytes_ += bytes.size();
    }
    ::close(file);
  }
  [[nodiscard]] const std::string& name() const override { return name_; }
  [[nodiscard]] std::uint64_t storedBytes() const override { return storedBytes_; }

  void readAll(Arrays& arrays) override {
    const int file = ::open(path_.c_str(), O_RDONLY);
    off_t at = 0;
    for (auto& values : arrays) {
      const std::size_t bytes = values.size() * sizeof(float);
      if (::pread(file, values.data(), bytes, at) != static_cast<ssize_t>(bytes)) {
        throw std::runtime_error("Can't read " + path_);
      }
      at += static_cast<off_t>(bytes);
    }
    ::close(file);
  }

 private:
  std::string path_;
  std::string name_ = "raw floats, pread";
  std::uint64_t storedBytes_ = 0;
};

class Copy final : public Peer {
 public:
  explicit Copy(const Arrays& arrays) : arrays_(arrays) {}
  [[nodiscard]] const std::string& name() const override { return name_; }
  [[nodiscard]] std::uint64_t storedBytes() const override { return 0; }

  void readAll(Arrays& arrays) override {
    for (std::size_t i = 0; i < arrays.size(); ++i) {
      std::memcpy(arrays[i].data(), arrays_[i].data(), arrays[i].size() * sizeof(float));
    }
  }

 private:
  Arrays arrays_;
  std::string name_ = "memcpy";
};

}  // namespace

void addPlainPeers(const Arrays& arrays, const std::string& directory,
                   std::vector<std::unique_ptr<Peer>>& peers) {
  peers.push_back(std::make_unique<RawFile>(arrays, directory + "/raw"));
  peers.push_back(std::make_unique<Copy>(arrays));
}

std::vector<std::unique_ptr<Peer>> makePeers(const Arrays& arrays, const Steps& steps,
                                             const std::string& directory) {
  std::vector<std::unique_ptr<Peer>> peers;
  addHdf5Peers(arrays, steps, directory, peers);
  addBloscPeers(arrays, steps, peers);
  addPlainPeers(arrays, directory, peers);
  return peers;
}

}  // namespace morvex::Bench
