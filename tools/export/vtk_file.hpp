#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/new_folder.hpp"

namespace morvex::tools {

/// Bytes of an array as VTK's XML files have them: in blocks, each compressed by zlib, after a table
/// of their sizes.
using EncodedArray = std::string;

/// Encodes several arrays at once, with the blocks of all of them shared out to threads.
/// `threads` is 0 for as many as processors.
[[nodiscard]] std::vector<EncodedArray> encode(
    const std::vector<std::span<const std::byte>>& arrays, int threads);

/// Where an array belongs in a piece.
enum class VtkPlace { kPoints, kCells, kPointData, kCellData };

/// An array of a piece.
struct VtkArray {
  VtkPlace place;
  std::string name;
  const char* type;  ///< For example "Float32".
  std::size_t components;
  std::vector<std::string> componentNames;  ///< Empty, or one for each.
  std::shared_ptr<const EncodedArray> values;
};

/// One number that belongs to the piece as a whole.
struct VtkConstant {
  std::string name;
  const char* type;
  std::string value;
};

/// A file of one grid.
struct VtkPiece {
  std::size_t points = 0;
  std::size_t cells = 0;
  std::array<int, 3> extents{};  ///< Nodes of a structured grid along i, j, k.
  bool isStructured = false;
  std::vector<VtkConstant> constants;
  std::vector<VtkArray> arrays;
};
/// Writes a piece as .vtu or .vts, arrays in their binary form after the XML, and finishes the file.
/// Failure kOutputFailed.
void writePiece(FolderFile& file, const VtkPiece& piece);

/// A text inside the quotes of an attribute.
[[nodiscard]] std::string quoted(std::string_view text);

/// The first lines of a file of VTK.
[[nodiscard]] std::string vtkHead(std::string_view type);

}  // namespace morvex::tools
