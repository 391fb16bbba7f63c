#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/element_type.hpp"
#include "core/provider.hpp"

namespace Kelbor {

namespace Detail {

/// Raises TypeMismatchException if the provider does not hold `expected`.
void requireType(const DataProvider& provider, DataType expected);
/// Logs `message` and throws std::runtime_error if there is no provider.
void requireProvider(const Provider* provider, const char* message);
/// Makes the content where it is missing and takes the read lock. `tooSmall` is the text of the
/// Exception for content that has fewer bytes than the dimension says.
const std::byte* openRead(DataProvider& provider, const char* tooSmall);
/// Releases the read lock and drops the content if nobody else needs it.
void closeRead(DataProvider& provider) noexcept;
/// Gives the provider a block of its size, the one it has where that is large enough, and takes
/// the write lock. MemoryAllocationException if a smaller one may not or can not be resized.
std::byte* openWrite(DataProvider& provider);
/// The step of openWrite that sees to the size of an existing block.
void growContainer(DataProvider& provider);

}  // namespace Detail

/// Read access to all values of a provider, made on demand. Construction runs the graph above; the
/// views hold as long as the accessor. Throws TypeMismatchException, std::runtime_error without a
/// provider, and whatever the producers throw.
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

/// As ScopedConstData, for whatever type the provider holds. size() counts elements.
class ScopedConstDataAny {
 public:
  explicit ScopedConstDataAny(DataProvider* provider);
  ~ScopedConstDataAny() { Detail::closeRead(*provider_); }
  ScopedConstDataAny(const ScopedConstDataAny&) = delete;
  ScopedConstDataAny& operator=(const ScopedConstDataAny&) = delete;

  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
  [[nodiscard]] const std::byte* data() const noexcept { return data_; }
  /// All bytes of the content, as the dimension counts them.
  [[nodiscard]] std::span<const std::byte> bytes() const;

 private:
  DataProvider* provider_;
  std::uint64_t size_ = 0;
  const std::byte* data_ = nullptr;
};

/// Write access to all values of a provider; never runs a producer. The content stays when the
/// accessor ends: from then on the provider is filled.
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

/// What ScopedDataInsitu does, without the types.
class InsituAccess {
 public:
  InsituAccess(DataProvider* input, DataType inputType, DataProvider* output, DataType outputType);
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

/// Access of a transforming step: the same memory for both views where the input's block may move
/// to the output, two blocks otherwise. A kernel must be right for views that are the same address.
template <class TIn, class TOut>
class ScopedDataInsitu {
 public:
  ScopedDataInsitu(DataProvider* input, DataProvider* output)
      : access_(input, dataTypeOf<TIn>(), output, dataTypeOf<TOut>()) {}

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
