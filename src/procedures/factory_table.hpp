#pragma once

#include <initializer_list>

#include "recipes/procedure_factory.hpp"

namespace Kelbor::MathModule {

/// Class-type tags of the procedures. Recipes store them; they are part of the file format.
namespace ClassTags {

inline constexpr std::int32_t kChunkedZlib = 1001;
inline constexpr std::int32_t kParallelWrapper = 1002;
inline constexpr std::int32_t kSimpleSums = 1003;
inline constexpr std::int32_t kIdWindowChain = 1004;
inline constexpr std::int32_t kDequantization = 1005;
inline constexpr std::int32_t kDecoderZlib = 1006;
inline constexpr std::int32_t kVectorSums = 1007;
inline constexpr std::int32_t kTreeSums = 1008;
inline constexpr std::int32_t kChunkedZlibTree = 1009;
inline constexpr std::int32_t kOffsetSums = 1010;

}  // namespace ClassTags

/// Class name of a tag, for messages and tools; null for an unknown tag.
[[nodiscard]] const char* classTagName(std::int32_t tag);

/// The creators of all procedures: the one table from tags to factories.
[[nodiscard]] const morvex::ClassCreators& allClassCreators();

/// The creators of some tags, for a read path that accepts no others.
[[nodiscard]] morvex::ClassCreators classCreatorsOf(std::initializer_list<std::int32_t> tags);

}  // namespace Kelbor::MathModule
