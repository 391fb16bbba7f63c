#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/procedure.hpp"
#include "metadata/deserializer.hpp"

namespace morvex {

/// Makes one kind of procedure. A factory's own data comes from the stored recipe, shared by all
/// datasets of that recipe; what changes between datasets comes from a parameter block.
class ProcedureFactory {
 public:
  /// `context` is borrowed and given to every procedure made.
  explicit ProcedureFactory(Kelbor::DataManager* context) : context_(context) {}
  ProcedureFactory(const ProcedureFactory&) = delete;
  ProcedureFactory& operator=(const ProcedureFactory&) = delete;
  virtual ~ProcedureFactory() = default;

  /// A new, unconnected procedure for an output of the extents `sizes`, with its parameters taken
  /// off the block. InternalError where the block ends too early; a procedure refuses parameters
  /// that make no sense with exceptions of its own.
  [[nodiscard]] virtual std::unique_ptr<Kelbor::DataProcedure> create(
      std::span<const std::uint64_t> sizes, Deserializer& parameters) const = 0;

 protected:
  [[nodiscard]] Kelbor::DataManager* context() const noexcept { return context_; }

 private:
  Kelbor::DataManager* context_;
};

/// Raised as InternalError for a class tag that the reader of a dataset does not accept.
inline constexpr const char* kInvalidClassType = "Deserialization: Invalid class type detected";

/// The factories of a class stream, each read when it is first asked for and kept. A stream that
/// turns out to be damaged is read anew each time, and so fails each time. Used by one thread.
class FactoryList {
 public:
  /// `classStream` is borrowed.
  FactoryList(Kelbor::DataManager* context, const std::vector<std::byte>& classStream,
              const ClassCreators& classCreators);

  /// What readFactory throws.
  [[nodiscard]] const ProcedureFactory& at(std::size_t index);

 private:
  Deserializer start_;
  Deserializer next_;
  std::vector<std::unique_ptr<ProcedureFactory>> factories_;
};

/// Reads a class tag and what its creator takes off the stream. InternalError for a tag that the
/// stream's creators don't hold.
[[nodiscard]] std::unique_ptr<ProcedureFactory> readFactory(Deserializer& classStream);

}  // namespace morvex
