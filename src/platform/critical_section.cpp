#include "platform/critical_section.hpp"

namespace Kelbor::Platform {
namespace {

constexpr int kSpinCount = 4000;

}  // namespace

void CriticalSection::lock() {
  for (int spin = 0; spin < kSpinCount; ++spin) {
    if (mutex_.try_lock()) return;
  }
  mutex_.lock();
}

}  // namespace Kelbor::Platform
