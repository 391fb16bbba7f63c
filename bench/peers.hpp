#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host_session.hpp"

namespace morvex::Bench {

/// Another way of storing the same arrays. With steps, it stores integers and multiplies when
/// reading. Peers whose library is missing on the build machine have no row.
class Peer {
 public:
  virtual ~Peer() = default;
  [[nodiscard]] virtual const std::string& name() const = 0;
  [[nodiscard]] virtual std::uint64_t storedBytes() const = 0;
  /// Reads everything; opens and closes files.
  virtual void readAll(Arrays& arrays) = 0;
};

/// Step of each array, 0 if it can only be stored as it is.
using Steps = std::vector<double>;

/// All peers of this build, with the arrays stored in `directory`. Without `steps`, none stores
/// integers.
[[nodiscard]] std::vector<std::unique_ptr<Peer>> makePeers(const Arrays& arrays, const Steps& steps,
                                                           const std::string& directory);

/// One dataset per array in nested groups, as HDF5 hosts store them.
class Hdf5Tree {
 public:
  [[nodiscard]] static bool isAvailable();
  /// `distinct` arrays by variable, then part, the same for all steps.
  static void write(const std::string& path, const Arrays& distinct, std::uint32_t parts,
                    std::uint32_t steps, double quantisationStep);

  explicit Hdf5Tree(const std::string& path);
  ~Hdf5Tree();
  Hdf5Tree(const Hdf5Tree&) = delete;
  Hdf5Tree& operator=(const Hdf5Tree&) = delete;

  void read(std::uint32_t variable, std::uint32_t step, std::uint32_t part, double quantisationStep,
            std::vector<float>& values);
  /// Groups and datasets, counted by visiting all.
  [[nodiscard]] std::uint64_t countEntries();

 private:
  std::int64_t file_;
  std::vector<std::int32_t> words_;
};

}  // namespace morvex::Bench
