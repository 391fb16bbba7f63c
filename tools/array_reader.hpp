#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "answers.hpp"
#include "contents.hpp"

namespace morvex::tools {

/// What an array of the file is; the programs count and sum up by these.
enum class ArrayKind {
  coordinates,
  blockCoordinates,
  connectivity,
  polygons,   ///< tables of n-sided elements
  polyhedra,  ///< tables of n-faced elements
  borderFaces,
  particles,
  variables,
  constants,
};
inline constexpr std::size_t kArrayKinds = 9;
[[nodiscard]] const char* kindName(ArrayKind kind);

/// One question to the library. Its answer may be several datasets: the axes of coordinates, the
/// nodes and parents of border faces.
struct ArrayId {
  ArrayKind kind = ArrayKind::coordinates;
  int step = 0;
  int part = 0;
  int elementType = -1;  ///< -1 where the array has none
  int variable = -1;     ///< -1 where the array is of none
  int component = 0;     ///< of a variable, or which of the tables of polygons and polyhedra
  bool isImaginary = false;
};

/// The bytes of one dataset as the library delivered them: float, int or short values.
struct DatasetValues {
  std::string path;
  std::span<const std::byte> bytes;
};

/// Memory without initial values that is used again; the largest size that was asked for stays.
class Scratch {
 public:
  /// What was there before is lost.
  void resize(std::size_t bytes);
  [[nodiscard]] std::span<std::byte> bytes() noexcept { return {data_.get(), used_}; }

 private:
  std::unique_ptr<std::byte[]> data_;
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
};

/// Reads arrays of the open session one question at a time, into memory that is used again for the
/// next one: the largest answer sets the size.
class ArrayReader {
 public:
  /// `contents` is borrowed.
  explicit ArrayReader(const Contents& contents) : contents_(contents) {}

  /// The values stay until the next question. Empty if the variable isn't defined on the part.
  /// Throws ReadFailure; AskFailure where it can't be told which dataset is meant.
  std::span<const DatasetValues> read(const ArrayId& array);

  /// The parts of the model at a step; those of the last asked step are kept.
  const std::vector<Part>& parts(int step);

  /// The step of a variable's geometry whose sizes hold at a step of the variable: the same number
  /// for the same time set, else the last one that is not later.
  [[nodiscard]] int geometryStep(const Variable& variable, int step) const;

 private:
  /// Asks for an array of `T`, or for three of one size, as answerOf does, and publishes it.
  template <class T, class Ask>
  void readOne(const Ask& ask);
  template <class Ask>
  void readAxes(const Ask& ask);
  /// Makes room for a dataset of the question that was just asked.
  void makeRoom(std::size_t index, std::uint64_t bytes);
  /// The datasets of the question that was just answered.
  void publish(mxg_code code, std::size_t datasets);

  template <class T>
  [[nodiscard]] T* values(std::size_t index) {
    return reinterpret_cast<T*>(scratch_[index].bytes().data());
  }

  void readCoordinates(const ArrayId& array);
  void readParticles(const ArrayId& array);
  void readConnectivity(const ArrayId& array);
  void readPolygons(const ArrayId& array);
  void readPolyhedra(const ArrayId& array);
  void readBorderFaces(const ArrayId& array);
  void readVariable(const ArrayId& array);
  void readConstantValue(const ArrayId& array);

  const Contents& contents_;
  int partsState_ = -1;
  std::vector<Part> parts_;
  std::array<Scratch, 3> scratch_;
  std::vector<DatasetValues> answer_;
};

}  // namespace morvex::tools
