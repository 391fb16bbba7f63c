#pragma once

#include <cstdint>

#include "writer/result_file.hpp"

namespace morvex::Writer {

/// A model with one of everything that a file can hold, to try programs on: it means nothing.
///
/// | part | what it has |
/// |---|---|
/// | elements | three of every fixed type from 0 to 29, ghosts included |
/// | polygons | n-sided elements of 3 to 8 nodes, and ghosts of which no file has the nodes |
/// | polyhedra | n-faced prisms of 5 to 9 faces, and such ghosts |
/// | solid | hexahedra with border faces |
/// | growing | quadrilaterals and triangles, more at each step and none at the first |
/// | block | a structured block with values on its nodes |
/// | sheet / flat | a structured block of one layer, of the kind with blanking options |
/// | empty | nothing |
///
/// The connectivity changes, so that all of it is stored at each step; coordinates have adaptive
/// precision. Particles come and go, none at the first step. The variables cover both locations, all
/// types, complex and constant ones, three time sets, and parts, steps and element types without
/// values.
class Zoo {
 public:
  struct Options {
    std::uint32_t nodes = 10'000;  ///< Approximate number.
    int steps = 20;
    std::uint64_t tableChunks = 4;
  };

  explicit Zoo(const Options& options);

  [[nodiscard]] ResultFileBuilder file() const;

 private:
  class Maker;

  Options options_;
};

}  // namespace morvex::Writer
