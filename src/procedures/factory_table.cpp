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

struct ClassRow {
  std::int32_t tag;
  const char* name;
  morvex::ClassCreator create;
};

constexpr std::array<ClassRow, 10> kClasses{
    {{ClassTags::kChunkedZlib, "ChunkedZlibDecompressionWrapper", createChunkedZlibFactory},
     {ClassTags::kParallelWrapper, "OmpDecompressionWrapper", createParallelWrapperFactory},
     {ClassTags::kSimpleSums, "SimpleSums", createSimpleSumsFactory},
     {ClassTags::kIdWindowChain, "IdWindowZlibDecompressionChain", createIdWindowChainFactory},
     {ClassTags::kDequantization, "Dequantization", createDequantizationFactory},
     {ClassTags::kDecoderZlib, "DecoderZlib", createDecoderZlibFactory},
     {ClassTags::kVectorSums, "VectorSums", createVectorSumsFactory},
     {ClassTags::kTreeSums, "TreeSums", createTreeSumsFactory},
     {ClassTags::kChunkedZlibTree, "ChunkedZlibTreeDecompressionWrapper",
      createChunkedZlibTreeFactory},
     {ClassTags::kOffsetSums, "OffsetSums", createOffsetSumsFactory}}};

constexpr const ClassRow* rowOf(std::int32_t tag) {
  const auto* const row = std::ranges::find(kClasses, tag, &ClassRow::tag);
  return row == kClasses.end() ? nullptr : row;
}

constexpr morvex::ClassCreators allRows() {
  morvex::ClassCreators all{};
  for (const ClassRow& row : kClasses) all.add({row.tag, row.create});
  return all;
}

}  // namespace

const char* classTagName(std::int32_t tag) {
  const ClassRow* row = rowOf(tag);
  return row ? row->name : nullptr;
}

const morvex::ClassCreators& allClassCreators() {
  static constexpr morvex::ClassCreators kAll = allRows();
  return kAll;
}

morvex::ClassCreators classCreatorsOf(std::initializer_list<std::int32_t> tags) {
  morvex::ClassCreators some{};
  for (const std::int32_t tag : tags) some.add({tag, rowOf(tag)->create});
  return some;
}

}  // namespace Kelbor::MathModule
