#pragma once

#include <cstdint>
#include <memory>

#include "core/scoped_access.hpp"

namespace Kelbor::MathModule {

/// The bytes of a provider after its front, without a copy: one read of a small dataset serves
/// both. Owns the provider and keeps its content.
class TailProvider final : public DataProvider {
 public:
  /// `whole` holds at least `frontBytes` bytes, and its content exists.
  TailProvider(std::unique_ptr<DataProvider> whole, std::uint64_t frontBytes)
      : DataProvider(whole->getContext(),
                     DataDimension(DataTypes::kUInt8,
                                   {whole->getDataDimension().getByteSize() - frontBytes})),
        whole_(std::move(whole)),
        frontBytes_(frontBytes),
        access_(whole_.get()) {}

  bool prepareContent() override {
    // wrapMemory() has no const form; wrapped memory is never written.
    wrapMemory(const_cast<std::byte*>(access_.data()) + frontBytes_,
               getDataDimension().getByteSize());
    return true;
  }

 private:
  std::unique_ptr<DataProvider> whole_;
  std::uint64_t frontBytes_;
  ScopedConstDataAny access_;
};

}  // namespace Kelbor::MathModule
