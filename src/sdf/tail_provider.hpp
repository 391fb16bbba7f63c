#pragma once

#include <cstdint>
#include <memory>

#include "core/scoped_access.hpp"

namespace Kelbor::MathModule {

/// The bytes of a provider behind its first few, without a copy: one read of a small dataset serves
/// both its front and what follows. Owns the provider and keeps its content.
class TailProvider final : public DataProvider {
 public:
  /// `whole` holds bytes, at least `frontBytes` of them, and its content has been made.
  TailProvider(std::unique_ptr<DataProvider> whole, std::uint64_t frontBytes)
      : DataProvider(whole->getContext(),
                     DataDimension(DataTypes::kUInt8,
                                   {whole->getDataDimension().getByteSize() - frontBytes})),
        whole_(std::move(whole)),
        frontBytes_(frontBytes),
        access_(whole_.get()) {}

  bool prepareContent() override {
    // Providers know no read-only view of foreign memory; wrapped memory is never written.
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
