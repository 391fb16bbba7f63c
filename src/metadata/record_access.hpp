#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "core/scoped_access.hpp"
#include "sdf/hierarchical_file.hpp"

namespace morvex {

/// The bytes of a dataset, in memory as long as the object lives. The file must outlive it.
class RecordBytes {
 public:
  /// All of the dataset from `offset` on, or `count` bytes of it if that is not 0. A missing
  /// dataset makes an absent record, which is no error here. Throws what a failed read throws.
  RecordBytes(Kelbor::MathModule::HierarchicalFileInterface& file, const std::string& group,
              const std::string& name, std::uint64_t count = 0, std::uint64_t offset = 0);
  ~RecordBytes();
  RecordBytes(const RecordBytes&) = delete;
  RecordBytes& operator=(const RecordBytes&) = delete;

  [[nodiscard]] explicit operator bool() const noexcept { return provider_ != nullptr; }
  /// Only for a record that exists.
  [[nodiscard]] std::span<const std::byte> bytes() const;

 private:
  std::unique_ptr<Kelbor::DataProvider> provider_;
  std::optional<Kelbor::ScopedConstData<std::uint8_t>> access_;
};

}  // namespace morvex
