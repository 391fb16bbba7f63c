#pragma once

#include <future>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "export/job.hpp"
#include "export/vtk_file.hpp"

namespace morvex::tools {

/// Exports to VTK's XML files: for each time a .vtm, which names the parts, and for each part a .vtu,
/// or a .vts for a structured block; the particles are a part of vertices. A .pvd lists the times.
///
/// The times are those of all time sets in use. What has steps of its own shows the last one that is not
/// later than the time, or its first. The arrays are those of the Python package's grids.
class VtuExport {
 public:
  VtuExport(Job& job, int threads) : job_(job), threads_(threads) {}
  void run();

 private:
  struct Piece;
  using PieceRef = std::shared_ptr<Piece>;
  /// Encoded arrays of a mesh, which several times may share. Empty until it has been read.
  struct Mesh {
    std::size_t points = 0;
    std::size_t cells = 0;
    std::vector<VtkArray> arrays;
    bool isDamaged = false;
  };
  using MeshRef = std::shared_ptr<Mesh>;
  /// What it is, part, step.
  using MeshKey = std::tuple<char, int, int>;

  [[nodiscard]] std::vector<float> times() const;
  /// The step that something with steps of a time set has at a time.
  [[nodiscard]] int stepAt(float time, int timeset, std::uint64_t steps) const;
  [[nodiscard]] int stepAt(float time, const morvex_geometry& geometry) const;

  /// Asks for all pieces of one time; `index` numbers its files.
  void exportTime(std::size_t index, float time);
  void exportPart(float time, int part, const morvex_part& info, int step, const PieceRef& piece);
  void exportParticles(float time, const PieceRef& piece);
  /// Writes a piece in another thread, one at a time.
  void finishPiece(const PieceRef& piece);
  /// Throws what made the last piece fail.
  void waitForPiece();

  /// Finds or begins a mesh; `read` asks for its arrays.
  template <class Read>
  MeshRef mesh(const MeshKey& key, const Read& read);
  void readPoints(const MeshRef& mesh, const morvex_request& coordinates);
  void readCells(const MeshRef& mesh, int step, int part, const morvex_part& info);
  /// Encodes arrays of a mesh and adds them; `values` has the bytes of each.
  void addEncoded(Mesh& mesh, std::vector<VtkArray> arrays,
                  const std::vector<std::span<const std::byte>>& values) const;

  /// Asks for the values of a variable on a part, or on the particles without `info`.
  void readValues(const PieceRef& piece, int number, int step, int part, const morvex_part* info);
  /// The constants of the file and the time itself, as field data of each piece.
  [[nodiscard]] std::vector<VtkConstant> constantsAt(float time);

  Job& job_;
  int threads_;
  std::vector<std::string> labels_;           ///< Of the variables.
  std::vector<std::string> imaginaryLabels_;  ///< Of their imaginary parts.
  std::map<MeshKey, MeshRef> meshes_;         ///< Of the time before and of this one.
  std::set<MeshKey> used_;                    ///< Of this time.
  std::string collection_;                    ///< Lines of the .pvd.
  std::future<void> writing_;
};

}  // namespace morvex::tools
