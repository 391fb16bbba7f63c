#pragma once

#include <cmath>
#include <memory>
#include <span>

#include "peers.hpp"

namespace morvex::Bench {

inline std::vector<std::int32_t> quantised(std::span<const float> values, double step) {
  std::vector<std::int32_t> words;
  words.reserve(values.size());
  for (const float value : values) {
    words.push_back(static_cast<std::int32_t>(std::nearbyint(double{value} / step)));
  }
  return words;
}

inline void scale(std::span<const std::int32_t> words, double step, std::span<float> values) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    values[i] = static_cast<float>(static_cast<double>(words[i]) * step);
  }
}

void addHdf5Peers(const Arrays& arrays, const Steps& steps, const std::string& directory,
                  std::vector<std::unique_ptr<Peer>>& peers);
void addBloscPeers(const Arrays& arrays, const Steps& steps,
                   std::vector<std::unique_ptr<Peer>>& peers);
void addPlainPeers(const Arrays& arrays, const std::string& directory,
                   std::vector<std::unique_ptr<Peer>>& peers);

}  // namespace morvex::Bench
