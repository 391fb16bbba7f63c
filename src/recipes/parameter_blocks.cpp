#include "recipes/parameter_blocks.hpp"

#include <bit>
#include <utility>

#include "metadata/serializer.hpp"

namespace morvex {
namespace {

constexpr std::uint64_t kChunkSizeInBytes = 65536;
constexpr std::int32_t kIdWindowMethod = 3;
/// The step written for types that have one step per value.
constexpr double kNoStep = -1.0;

}  // namespace

const ParameterBlock& ParameterBlocks::decompression(Kelbor::DataType type) {
  return blockOf({.decompressedType = type.enumerator()});
}

const ParameterBlock& ParameterBlocks::window() {
  return blockOf({.decompressedType = Kelbor::DataTypes::kInt32.enumerator(),
                  .idWindowMethod = kIdWindowMethod});
}

const ParameterBlock& ParameterBlocks::dequantization(bool withDecompression,
                                                      const PrecisionSetting& precision) {
  const bool isUniform = precision.type == QuantizationType::UniformQuantization;
  return blockOf(
      {.decompressedType = withDecompression ? Kelbor::DataTypes::kInt32.enumerator() : 0,
       .quantizationType = static_cast<std::int64_t>(precision.type),
       .step = std::bit_cast<std::uint64_t>(isUniform ? precision.parameters.at(0) : kNoStep)});
}

const ParameterBlock& ParameterBlocks::blockOf(const Key& key) {
  const auto known = blocks_.find(key);
  if (known != blocks_.end()) return known->second;
  ParameterBlock block;  // kept when it is complete: memory may run out on the way
  Serializer values(nullptr, block);
  values.requireVersion({0, 0, 0});
  if (key.decompressedType != 0) {
    values.writeU32(kChunkTableMarker);
    if (key.idWindowMethod != 0) values.writeI32(key.idWindowMethod);
    values.writeI32(key.decompressedType);
    if (key.idWindowMethod == 0) values.writeU64(kChunkSizeInBytes);
  }
  if (key.quantizationType >= 0) {
    values.writeI32(Kelbor::DataTypes::kUInt64.enumerator());
    values.writeI32(Kelbor::DataTypes::kFloat.enumerator());
    values.writeU32(static_cast<std::uint32_t>(key.quantizationType));
    values.writeF64(std::bit_cast<double>(key.step));
    values.writeU8(0);
  }
  return blocks_.emplace(key, std::move(block)).first->second;
}

}  // namespace morvex
