#include "reader/api/instance.hpp"

#include <utility>

namespace morvex::Api {

InstancePool::InstancePool(const std::string& path, std::size_t mostIdle) : mostIdle_(mostIdle) {
  // giveBack() must not allocate; the first reader may exceed `mostIdle`.
  idle_.reserve(mostIdle + 1);
  idle_.push_back(std::make_unique<Instance>(path));
  first_ = idle_.back().get();
}

std::unique_ptr<Instance> InstancePool::take() {
  {
    const std::lock_guard guard(lock_);
    if (!idle_.empty()) {
      std::unique_ptr<Instance> instance = std::move(idle_.back());
      idle_.pop_back();
      return instance;
    }
  }
  return std::make_unique<Instance>(first_->simulation);
}

void InstancePool::giveBack(std::unique_ptr<Instance> instance) noexcept {
  const std::lock_guard guard(lock_);
  if (idle_.size() < mostIdle_ || instance.get() == first_) idle_.push_back(std::move(instance));
}

void InstancePool::clearGeometryCaches() {
  const std::lock_guard guard(lock_);
  for (const auto& instance : idle_) instance->simulation.clearGeometryCache();
}

}  // namespace morvex::Api
