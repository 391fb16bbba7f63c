#pragma once

#include <cstddef>
#include <list>

#include "platform/critical_section.hpp"

namespace Kelbor::MathModule {

class HierarchicalFileInterface;

/// Keeps the number of streams that are open at once within what a process may have. Files leave
/// in the order in which they were opened, however much they are used, and open again on demand.
class HierarchicalFilePool {
 public:
  static constexpr std::size_t kMaxOpenFiles = 256;

  /// Takes in a file that is about to be opened. Beyond the limit the file opened first is closed;
  /// one that another thread is using right now is passed over for the next.
  void add(HierarchicalFileInterface& file);
  void remove(HierarchicalFileInterface& file);
  [[nodiscard]] std::size_t size();

 private:
  Platform::CriticalSection lock_;
  std::list<HierarchicalFileInterface*> files_;
};

/// The one pool, made at the first call and never destroyed: files may close while the process
/// ends.
[[nodiscard]] HierarchicalFilePool& getOpenFilePool();

}  // namespace Kelbor::MathModule
