#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/element_type.hpp"
#include "core/provider.hpp"

namespace Kelbor {

namespace Detail {

/// TypeMismatchException if the provider does not hold `expected`.
void requireType(const DataProvider& provider, DataType expected);
/// Logs `message` and throws std::runtime_error if `provider` is null.
void requireProvider(const Provider* provider, const char* message);
/// Makes missing content and takes the read lock. `tooSmall` is the text of the Exception for
/// content with fewer bytes than the dimension needs.
const std::byte* openRead(DataProvider& provider, const char* tooSmall);
/// Releases the read lock and drops the content unless it has another reader.
void closeRead(DataProvider& provider) noexcept;
/// Takes the write lock on a block of the provider's size, its own if that is large enough.
/// MemoryAllocationException if its own is too small and can't be resized.
std::byte* openWrite(DataProvider& provider);
/// The step of openWrite() that resizes an existing block.
void growContainer(DataProvider& provider);

}  // namespace Detail

/// Read access to all values of a provider. The constructor makes missing content, which runs the
/// graph up to the sources; the views are valid as long as the accessor. Throws
/// TypeMismatchException, std::runtime_error if `provider` is null, and whatever the producers
/// throw.
template <class T>
class ScopedConstData {
 public:
  explicit ScopedConstData(DataProvider* provider) : provider_(provider) {
    Detail::requireProvider(provider, "ScopedConstData without provider!");
    Detail::requireType(*provider, dataTypeOf<T>());
    data_ = reinterpret_cast<const T*>(
        Detail::openRead(*provider, "Output container is too small for ScopedConstData!"));
    size_ = provider->getDataDimension().getNumberOfElements();
  }
  ~ScopedConstData() { Detail::closeRead(*provider_); }
  ScopedConstData(const ScopedConstData&) = delete;
  ScopedConstData& operator=(const ScopedConstData&) = delete;

  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
  [[nodiscard]] const T* data() const noexcept { return data_; }
  [[nodiscard]] std::span<const T> view() const noexcept {
    return {data_, static_cast<std::size_t>(size_)};
  }

 private:
  DataProvider* provider_;
  std::uint64_t size_ = 0;
  const T* data_ = nullptr;
};

/// Like ScopedConstData, for any element type. size() counts elements.
class ScopedConstDataAny {
 public:
  explicit ScopedConstDataAny(DataProvider* provider);
  ~ScopedConstDataAny() { Detail::closeRead(*provider_); }
  ScopedConstDataAny(const ScopedConstDataAny&) = delete;
  ScopedConstDataAny& operator=(const ScopedConstDataAny&) = delete;

  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
  [[nodiscard]] const std::byte* data() const noexcept { return data_; }
  /// All bytes of the content, as many as the dimension needs.
  [[nodiscard]] std::span<const std::byte> bytes() const;

 private:
  DataProvider* provider_;
  std::uint64_t size_ = 0;
  const std::byte* data_ = nullptr;
};

/// Write access to all values of a provider. Never runs a producer. The content stays when the
/// accessor is destroyed: the provider is filled from then on.
template <class T>
class ScopedData {
 public:
  explicit ScopedData(DataProvider* provider) : provider_(provider) {
    Detail::requireProvider(provider, "ScopedData without provider!");
    Detail::requireType(*provider, dataTypeOf<T>());
    data_ = reinterpret_cast<T*>(Detail::openWrite(*provider));
    size_ = provider->getDataDimension().getNumberOfElements();
  }
  ~ScopedData() { provider_->releaseWrite(); }
  ScopedData(const ScopedData&) = delete;
  ScopedData& operator=(const ScopedData&) = delete;

  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
  [[nodiscard]] T* data() const noexcept { return data_; }
  [[nodiscard]] std::span<T> view() const noexcept {
    return {data_, static_cast<std::size_t>(size_)};
  }

 private:
  DataProvider* provider_;
  std::uint64_t size_ = 0;
  T* data_ = nullptr;
};

/// Whether an input may be made in the output's block. Only for steps whose result is the same in
/// place as from block to block.
enum class BlockLoan { kAllowed, kRefused };

/// The type-independent part of ScopedDataInsitu. Makes the input, settles the output's dimension,
/// then picks the memory of both views.
class InsituAccess {
 public:
  InsituAccess(DataProvider* input, DataType inputType, DataProvider* output, DataType outputType,
               BlockLoan loan);
  ~InsituAccess();
  InsituAccess(const InsituAccess&) = delete;
  InsituAccess& operator=(const InsituAccess&) = delete;

  [[nodiscard]] std::size_t inputSize() const noexcept { return inputSize_; }
  [[nodiscard]] std::size_t outputSize() const noexcept { return outputSize_; }
  [[nodiscard]] const std::byte* inputData() const noexcept { return inputData_; }
  [[nodiscard]] std::byte* outputData() const noexcept { return outputData_; }

 private:
  DataProvider* input_;
  DataProvider* output_;
  std::size_t inputSize_ = 0;
  std::size_t outputSize_ = 0;
  const std::byte* inputData_ = nullptr;
  std::byte* outputData_ = nullptr;
  bool readsInput_ = false;
};

/// Access for a step that transforms an input into an output. Both views share memory if the
/// input's block can move to the output or was made in the output's block; otherwise they are two
/// blocks. The kernel must be right in either case.
template <class TIn, class TOut>
class ScopedDataInsitu {
 public:
  ScopedDataInsitu(DataProvider* input, DataProvider* output, BlockLoan loan = BlockLoan::kAllowed)
      : access_(input, dataTypeOf<TIn>(), output, dataTypeOf<TOut>(), loan) {}

  [[nodiscard]] std::span<const TIn> input() const noexcept {
    return {reinterpret_cast<const TIn*>(access_.inputData()), access_.inputSize()};
  }
  [[nodiscard]] std::span<TOut> output() const noexcept {
    return {reinterpret_cast<TOut*>(access_.outputData()), access_.outputSize()};
  }

 private:
  InsituAccess access_;
};

}  // namespace Kelbor
