#include "core/piecewise_source.hpp"

namespace Kelbor {
namespace {

/// 512 KiB: a smaller block costs too little to avoid.
constexpr std::uint64_t kLargeContent = 524288;

}  // namespace

PiecewiseSource* piecesOf(DataProvider& provider) {
  if (provider.hasContainer() || !provider.isFreeable()) return nullptr;
  if (provider.getDataDimension().getByteSize() < kLargeContent) return nullptr;
  auto* source = dynamic_cast<PiecewiseSource*>(&provider);
  return source && source->hasPieces() ? source : nullptr;
}

}  // namespace Kelbor
