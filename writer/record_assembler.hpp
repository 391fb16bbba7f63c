#pragma once

#include <span>

#include "writer/result_file.hpp"

namespace morvex::Writer {

/// Makes the metadata records of a file from its builder.
class RecordAssembler {
 public:
  RecordAssembler(const ResultFileBuilder& file, ResultImage& image) : file_(file), image_(image) {}

  void assemble(std::span<const RecipeBuilder> recipes, std::span<const Bytes> parameters);

 private:
  using Geometry = ResultFileBuilder::Geometry;

  void assembleCase();
  void assembleGeometries();
  void assembleVariables();
  void assemblePrecisions();
  [[nodiscard]] GeometryMetadata stateOf(const Geometry& geometry, std::size_t state) const;
  [[nodiscard]] std::size_t geometryCount() const;

  const ResultFileBuilder& file_;
  ResultImage& image_;
};

}  // namespace morvex::Writer
