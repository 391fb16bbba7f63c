#include "metadata/record_access.hpp"

namespace morvex {

RecordBytes::RecordBytes(Kelbor::MathModule::HierarchicalFileInterface& file,
                         const std::string& group, const std::string& name, std::uint64_t count,
                         std::uint64_t offset)
    : provider_(file.getDataProvider(group, name, count, offset)) {
  if (provider_) access_.emplace(provider_.get());
}

RecordBytes::~RecordBytes() = default;

std::span<const std::byte> RecordBytes::bytes() const {
  return std::as_bytes(access_->view());
}

}  // namespace morvex
