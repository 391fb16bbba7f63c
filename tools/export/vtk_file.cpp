#include "export/vtk_file.hpp"

#include <tbb/info.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <stdexcept>

namespace morvex::tools {
namespace {

/// Large enough to compress well, small enough to share out.
constexpr std::size_t kBlockSize = std::size_t{256} << 10U;
/// Higher levels cost several times as much and gain a few per cent on results.
constexpr int kLevel = 1;

/// One zlib stream. std::bad_alloc if memory is short.
std::string compressed(std::span<const std::byte> bytes) {
  uLongf size = ::compressBound(static_cast<uLong>(bytes.size()));
  std::string result(size, '\0');
  const int code = ::compress2(reinterpret_cast<Bytef*>(result.data()), &size,
                               reinterpret_cast<const Bytef*>(bytes.data()),
                               static_cast<uLong>(bytes.size()), kLevel);
  if (code == Z_MEM_ERROR) throw std::bad_alloc();
  if (code != Z_OK) throw std::logic_error("zlib refuses to compress");
  result.resize(size);
  return result;
}

/// Number of blocks, size of a block and of the last one, then the compressed sizes; all unsigned
/// with 64 bits. The last size is 0 if it is that of the others.
EncodedArray joined(std::span<const std::string> blocks, std::size_t bytes) {
  std::vector<std::uint64_t> table{blocks.size(), kBlockSize, bytes % kBlockSize};
  std::size_t size = 0;
  for (const std::string& block : blocks) {
    table.push_back(block.size());
    size += block.size();
  }
  EncodedArray result(reinterpret_cast<const char*>(table.data()), table.size() * sizeof table[0]);
  result.reserve(result.size() + size);
  for (const std::string& block : blocks) result += block;
  return result;
}

/// With a leading blank; the value is quoted.
std::string attribute(const char* name, std::string_view value) {
  return std::string(" ") + name + "=\"" + quoted(value) + "\"";
}

/// The arrays of one place as XML; `offset` is where the next array begins in the appended data.
std::string placeText(const VtkPiece& piece, VtkPlace place, const char* element,
                      std::uint64_t& offset) {
  std::string text = std::string("      <") + element + ">\n";
  for (const VtkArray& array : piece.arrays) {
    if (array.place != place) continue;
    text += "        <DataArray" + attribute("type", array.type) + attribute("Name", array.name) +
            attribute("NumberOfComponents", std::to_string(array.components));
    for (std::size_t i = 0; i < array.componentNames.size(); ++i) {
      const std::string name = "ComponentName" + std::to_string(i);
      text += attribute(name.c_str(), array.componentNames[i]);
    }
    text += attribute("format", "appended") + attribute("offset", std::to_string(offset)) + "/>\n";
    offset += array.values->size();
  }
  return text + "      </" + element + ">\n";
}

}  // namespace

std::vector<EncodedArray> encode(const std::vector<std::span<const std::byte>>& arrays,
                                 int threads) {
  // The blocks of all arrays are shared out together: a small array alone would occupy one thread.
  struct Block {
    std::size_t array;
    std::size_t first;
  };
  std::vector<Block> blocks;
  for (std::size_t a = 0; a < arrays.size(); ++a) {
    for (std::size_t at = 0; at < arrays[a].size(); at += kBlockSize) blocks.push_back({a, at});
  }
  std::vector<std::string> results(blocks.size());
  // The runtime warns on standard error about requests for more threads than processors.
  const int most = tbb::info::default_concurrency();
  tbb::task_arena arena(threads > 0 ? std::min(threads, most) : most);
  // The runtime orders what its threads and this one write. So does this counter, for the thread
  // sanitizer, which sees nothing of the runtime.
  static std::atomic<std::size_t> order{0};
  order.fetch_add(1, std::memory_order_release);
  arena.execute([&] {
    tbb::parallel_for(std::size_t{0}, blocks.size(), [&](std::size_t i) {
      order.fetch_add(1, std::memory_order_acq_rel);
      const auto [a, at] = blocks[i];
      const std::size_t size = std::min(kBlockSize, arrays[a].size() - at);
      results[i] = compressed(arrays[a].subspan(at, size));
      order.fetch_add(1, std::memory_order_release);
    });
  });
  (void)order.load(std::memory_order_acquire);
  std::vector<EncodedArray> encoded;
  std::size_t first = 0;
  for (const auto& array : arrays) {
    const std::size_t count = (array.size() + kBlockSize - 1) / kBlockSize;
    encoded.push_back(joined(std::span(results).subspan(first, count), array.size()));
    first += count;
  }
  return encoded;
}

std::string quoted(std::string_view text) {
  std::string result;
  for (const char letter : text) {
    switch (letter) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += letter;
    }
  }
  return result;
}

std::string vtkHead(std::string_view type) {
  return "<?xml version=\"1.0\"?>\n<VTKFile" + attribute("type", type) +
         attribute("version", "1.0") + attribute("byte_order", "LittleEndian") +
         attribute("header_type", "UInt64") + attribute("compressor", "vtkZLibDataCompressor") +
         ">\n";
}

void writePiece(FolderFile& file, const VtkPiece& piece) {
  // The reader finds arrays by their offsets in the appended data, in the order of placeText() calls.
  const char* const grid = piece.isStructured ? "StructuredGrid" : "UnstructuredGrid";
  std::string extent;
  for (const int nodes : piece.extents) {
    extent += (extent.empty() ? "0 " : " 0 ") + std::to_string(nodes - 1);
  }
  std::string text = vtkHead(grid) + "  <" + grid +
                     (piece.isStructured ? attribute("WholeExtent", extent) : "") + ">\n";
  text += "    <FieldData>\n";
  for (const VtkConstant& constant : piece.constants) {
    text += "      <DataArray" + attribute("type", constant.type) +
            attribute("Name", constant.name) + attribute("NumberOfTuples", "1") +
            attribute("format", "ascii") + ">" + constant.value + "</DataArray>\n";
  }
  text += "    </FieldData>\n    <Piece";
  text += piece.isStructured ? attribute("Extent", extent)
                             : attribute("NumberOfPoints", std::to_string(piece.points)) +
                                   attribute("NumberOfCells", std::to_string(piece.cells));
  text += ">\n";
  std::uint64_t offset = 0;
  const auto add = [&](VtkPlace place, const char* element) {
    text += placeText(piece, place, element, offset);
  };
  add(VtkPlace::kPointData, "PointData");
  add(VtkPlace::kCellData, "CellData");
  add(VtkPlace::kPoints, "Points");
  if (!piece.isStructured) add(VtkPlace::kCells, "Cells");
  text += std::string("    </Piece>\n  </") + grid + ">\n  <AppendedData encoding=\"raw\">\n   _";
  file.write(text);
  // In the order of their offsets.
  for (const VtkPlace place :
       {VtkPlace::kPointData, VtkPlace::kCellData, VtkPlace::kPoints, VtkPlace::kCells}) {
    for (const VtkArray& array : piece.arrays) {
      if (array.place == place) file.write(*array.values);
    }
  }
  file.write("\n  </AppendedData>\n</VTKFile>\n");
  file.finish();
}

}  // namespace morvex::tools
