#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "core/procedure.hpp"
#include "metadata/deserializer.hpp"

namespace morvex {

class Recipe;

/// Makes one kind of procedure. The factory's own data comes from the stored recipe, shared by all
/// datasets of that recipe; data that differs between datasets comes from a parameter block.
class ProcedureFactory {
 public:
  /// `context` is borrowed and passed to every procedure.
  explicit ProcedureFactory(Kelbor::DataManager* context) : context_(context) {}
  ProcedureFactory(const ProcedureFactory&) = delete;
  ProcedureFactory& operator=(const ProcedureFactory&) = delete;
  virtual ~ProcedureFactory() = default;

  /// A new, unconnected procedure for an output of extents `sizes`. Reads its parameters from the
  /// block; InternalError if the block ends too early. Procedures refuse meaningless parameters
  /// with exceptions of their own.
  [[nodiscard]] virtual std::unique_ptr<Kelbor::DataProcedure> create(
      std::span<const std::uint64_t> sizes, Deserializer& parameters) const = 0;

 protected:
  [[nodiscard]] Kelbor::DataManager* context() const noexcept { return context_; }

 private:
  Kelbor::DataManager* context_;
};

/// Text of the InternalError for a class tag that a read path does not accept.
inline constexpr const char* kInvalidClassType = "Deserialization: Invalid class type detected";

/// The factories of a class stream, each read on first use and kept. A damaged stream is read
/// again, and fails again, at each use. Used by one thread.
class FactoryList {
 public:
  /// `classStream` is borrowed.
  FactoryList(Kelbor::DataManager* context, const std::vector<std::byte>& classStream,
              const ClassCreators& classCreators);

  /// Throws what readFactory throws.
  [[nodiscard]] const ProcedureFactory& at(std::size_t index);

 private:
  Deserializer start_;
  Deserializer next_;
  std::vector<std::unique_ptr<ProcedureFactory>> factories_;
};

/// Reads a class tag, then lets its creator read the rest. InternalError for a tag that the
/// stream's creators don't have.
[[nodiscard]] std::unique_ptr<ProcedureFactory> readFactory(Deserializer& classStream);

/// The factories of recipes, so that each recipe is read once. Identifies recipes by address: they
/// must outlive the cache and not change.
class FactoryCache {
 public:
  [[nodiscard]] FactoryList& factoriesOf(const Recipe& recipe, Kelbor::DataManager* context,
                                         const ClassCreators& classCreators);

 private:
  std::map<std::pair<const Recipe*, const ClassCreators*>, FactoryList> lists_;
};

}  // namespace morvex
