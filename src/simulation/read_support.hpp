#pragma once

// The steps that the reads of EnsgSimulation share; included by their sources alone.

#include <cstring>
#include <stdexcept>
#include <utility>

#include "core/checked.hpp"
#include "core/error.hpp"
#include "core/scoped_access.hpp"
#include "simulation/simulation.hpp"

namespace morvex {

template <class T>
[[nodiscard]] std::uint64_t byteSizeOf(const BufferInfo<T, long long>& buffer) {
  return static_cast<std::uint64_t>(buffer.size) * sizeof(T);
}

template <class Stored, class T>
void EnsgSimulation::pullInto(const Kelbor::BranchedChain& chain, std::string_view key,
                              BufferInfo<T, long long> buffer) {
  Kelbor::DataProcedure& last = chain.getOutputProcedure(key);
  last.setOutputBuffer(0, buffer.data, byteSizeOf(buffer));
  const Kelbor::ScopedConstData<Stored> values(
      dynamic_cast<Kelbor::DataProvider*>(last.getOutputProvider(0)));
  if (static_cast<const void*>(values.data()) != buffer.data) {
    Kelbor::raise<InternalError>("Failed to read data insitu");
  }
}

template <class Stored, class T>
bool EnsgSimulation::readFromStorage(const std::string& path, BufferInfo<T, long long> buffer,
                                     const char* mismatch) {
  Kelbor::DataProvider* kept = storage_.lookup(path);
  if (!kept) return false;
  const Kelbor::ScopedConstData<Stored> values(kept);
  if (values.size() != static_cast<std::uint64_t>(buffer.size)) {
    Kelbor::raise<std::logic_error>(mismatch);
  }
  if (buffer.size > 0) std::memcpy(buffer.data, values.data(), byteSizeOf(buffer));
  return true;
}

template <class T>
void EnsgSimulation::keepInStorage(const std::string& path, Kelbor::DataType type,
                                   BufferInfo<T, long long> buffer) {
  std::unique_ptr<Kelbor::DataProvider> copy = std::make_unique<Kelbor::StorageProvider>(
      getContext(), Kelbor::DataDimension(type, {static_cast<std::uint64_t>(buffer.size)}));
  copy->copyMemory(buffer.data, byteSizeOf(buffer));
  storage_.store(path, copy);
}

}  // namespace morvex
