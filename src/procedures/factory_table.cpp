#include "procedures/factory_table.hpp"

#include "procedures/chunked_zlib.hpp"
#include "procedures/decoder.hpp"
#include "procedures/dequantization.hpp"
#include "procedures/id_window_chain.hpp"
#include "procedures/parallel_wrapper.hpp"
#include "procedures/sums.hpp"

namespace Kelbor::MathModule {

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
