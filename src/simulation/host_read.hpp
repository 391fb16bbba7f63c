#pragma once

// The first and last steps of every read into a host's array; included by the sources of the reads.

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "core/chain.hpp"
#include "core/scoped_access.hpp"
#include "metadata/exception.hpp"
#include "simulation/host_array.hpp"
#include "simulation/read_context.hpp"

namespace morvex {

/// Runs the chain's result `key` into the buffer. InternalError "Failed to read data insitu" if the
/// values are elsewhere in memory afterwards.
template <class Stored, class T>
void pullInto(const Kelbor::BranchedChain& chain, std::string_view key,
              BufferInfo<T, long long> buffer) {
  Kelbor::DataProcedure& last = chain.getOutputProcedure(key);
  last.setOutputBuffer(0, buffer.data, byteSizeOf(buffer));
  const Kelbor::ScopedConstData<Stored> values(
      dynamic_cast<Kelbor::DataProvider*>(last.getOutputProvider(0)));
  if (static_cast<const void*>(values.data()) != buffer.data) {
    Kelbor::raise<InternalError>("Failed to read data insitu");
  }
}

/// Copies values from the storage; false if it has none. std::logic_error `mismatch` if their
/// number differs.
template <class Stored, class T>
bool readFromStorage(Kelbor::KelborStorage& storage, const std::string& path,
                     BufferInfo<T, long long> buffer, const char* mismatch) {
  Kelbor::DataProvider* kept = storage.lookup(path);
  if (!kept) return false;
  const Kelbor::ScopedConstData<Stored> values(kept);
  if (values.size() != static_cast<std::uint64_t>(buffer.size)) {
    Kelbor::raise<std::logic_error>(mismatch);
  }
  if (buffer.size > 0) std::memcpy(buffer.data, values.data(), byteSizeOf(buffer));
  return true;
}

/// Stores a copy of the values, with the type of the chain's output.
template <class T>
void keepInStorage(ReadContext& context, const std::string& path, Kelbor::DataType type,
                   BufferInfo<T, long long> buffer) {
  std::unique_ptr<Kelbor::DataProvider> copy = std::make_unique<Kelbor::StorageProvider>(
      context.manager(), Kelbor::DataDimension(type, {static_cast<std::uint64_t>(buffer.size)}));
  copy->copyMemory(buffer.data, byteSizeOf(buffer));
  context.storage.store(path, copy);
}

}  // namespace morvex
