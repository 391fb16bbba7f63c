#pragma once

#include <cstddef>
#include <list>

#include "platform/critical_section.hpp"

namespace Kelbor::MathModule {

class HierarchicalFileInterface;

/// Bounds the number of streams that are open at once. Files are closed in the order in which they
/// were opened, however often they are used, and open again on demand.
class HierarchicalFilePool {
 public:
  static constexpr std::size_t kMaxOpenFiles = 256;

  /// Adds a file that is about to be opened. Beyond the limit, closes the file that was opened
  /// first; skips files that other threads are using.
  void add(HierarchicalFileInterface& file);
  void remove(HierarchicalFileInterface& file);
  /// Closes the file that was opened first, other than `except`. False if all others are in use.
  [[nodiscard]] bool closeOldest(const HierarchicalFileInterface& except);
  [[nodiscard]] std::size_t size();

 private:
  Platform::CriticalSection lock_;
  std::list<HierarchicalFileInterface*> files_;
};

/// The process-wide pool, made at the first call and never destroyed: files may close while the
/// process exits.
[[nodiscard]] HierarchicalFilePool& getOpenFilePool();

}  // namespace Kelbor::MathModule
