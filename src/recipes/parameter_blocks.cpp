#include "recipes/parameter_blocks.hpp"

#include "metadata/deserializer.hpp"

namespace morvex {
namespace {

/// Tells a parallel wrapper that each of its inputs begins with a chunk table.
constexpr std::int32_t kChunkTableMarker = -1;
constexpr std::uint64_t kChunkSizeInBytes = 65536;
constexpr std::int32_t kIdWindowMethod = 3;
/// In place of a step, where every value has its own.
constexpr double kNoStep = -1.0;

class BlockWriter {
 public:
  BlockWriter() : block_(reserved()), serializer_(nullptr, block_) {
    serializer_.requireVersion({0, 0, 0});
  }

  void decompression(Kelbor::DataType type) {
    serializer_.writeI32(kChunkTableMarker);
    serializer_.writeI32(type.enumerator());
    serializer_.writeU64(kChunkSizeInBytes);
  }
  Serializer& values() { return serializer_; }
  ParameterBlock finish() { return std::move(block_); }

 private:
  static ParameterBlock reserved() {
    ParameterBlock block;
    block.reserve(64);  // more than any of the blocks
    return block;
  }

  ParameterBlock block_;
  Serializer serializer_;
};

}  // namespace

ParameterBlock decompressionBlock(Kelbor::DataType type) {
  BlockWriter block;
  block.decompression(type);
  return block.finish();
}

ParameterBlock windowBlock() {
  BlockWriter block;
  block.values().writeI32(kChunkTableMarker);
  block.values().writeI32(kIdWindowMethod);
  block.values().writeI32(Kelbor::DataTypes::kInt32.enumerator());
  return block.finish();
}

ParameterBlock dequantizationBlock(bool withDecompression, const PrecisionSetting& precision) {
  const bool isUniform = precision.type == QuantizationType::UniformQuantization;
  BlockWriter block;
  if (withDecompression) block.decompression(Kelbor::DataTypes::kInt32);
  block.values().writeI32(Kelbor::DataTypes::kUInt64.enumerator());
  block.values().writeI32(Kelbor::DataTypes::kFloat.enumerator());
  block.values().writeU32(static_cast<std::uint32_t>(precision.type));
  block.values().writeF64(isUniform ? precision.parameters.at(0) : kNoStep);
  block.values().writeU8(0);
  return block.finish();
}

}  // namespace morvex
