#include "procedures/factory_table.hpp"

#include <algorithm>
#include <array>

#include "procedures/chunked_zlib.hpp"
#include "procedures/decoder.hpp"
#include "procedures/dequantization.hpp"
#include "procedures/id_window_chain.hpp"
#include "procedures/parallel_wrapper.hpp"
#include "procedures/sums.hpp"

namespace Kelbor::MathModule {
namespace {

struct ClassName {
  std::int32_t tag;
  const char* name;
};

constexpr std::array<ClassName, 10> kClassNames{
    {{ClassTags::kChunkedZlib, "ChunkedZlibDecompressionWrapper"},
     {ClassTags::kParallelWrapper, "OmpDecompressionWrapper"},
     {ClassTags::kSimpleSums, "SimpleSums"},
     {ClassTags::kIdWindowChain, "IdWindowZlibDecompressionChain"},
     {ClassTags::kDequantization, "Dequantization"},
     {ClassTags::kDecoderZlib, "DecoderZlib"},
     {ClassTags::kVectorSums, "VectorSums"},
     {ClassTags::kTreeSums, "TreeSums"},
     {ClassTags::kChunkedZlibTree, "ChunkedZlibTreeDecompressionWrapper"},
     {ClassTags::kOffsetSums, "OffsetSums"}}};

}  // namespace

const char* classTagName(std::int32_t tag) {
  const auto* const entry = std::ranges::find(kClassNames, tag, &ClassName::tag);
  return entry == kClassNames.end() ? nullptr : entry->name;
}

const morvex::ClassCreators& allClassCreators() {
  static const morvex::ClassCreators& table =
      *new morvex::ClassCreators{{ClassTags::kChunkedZlib, createChunkedZlibFactory},
                                 {ClassTags::kParallelWrapper, createParallelWrapperFactory},
                                 {ClassTags::kSimpleSums, createSimpleSumsFactory},
                                 {ClassTags::kIdWindowChain, createIdWindowChainFactory},
                                 {ClassTags::kDequantization, createDequantizationFactory},
                                 {ClassTags::kDecoderZlib, createDecoderZlibFactory},
                                 {ClassTags::kVectorSums, createVectorSumsFactory},
                                 {ClassTags::kTreeSums, createTreeSumsFactory},
                                 {ClassTags::kChunkedZlibTree, createChunkedZlibTreeFactory},
                                 {ClassTags::kOffsetSums, createOffsetSumsFactory}};
  return table;
}

morvex::ClassCreators classCreatorsOf(std::initializer_list<std::int32_t> tags) {
  morvex::ClassCreators some;
  for (const std::int32_t tag : tags) some.emplace(tag, allClassCreators().at(tag));
  return some;
}

}  // namespace Kelbor::MathModule
