#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>

namespace morvex {

class Deserializer;
class ProcedureFactory;

/// Makes an object of one class from what follows its tag in the stream. Callers of a creator
/// include the factory's header; a forward declaration keeps that layer out of this header.
using ClassCreator = std::unique_ptr<ProcedureFactory> (*)(Deserializer&);

/// The creators that a reader accepts, by class-type tag.
class ClassCreators {
 public:
  struct Row {
    std::int32_t tag;
    ClassCreator create;
  };

  /// At most kMostRows; tags are distinct.
  constexpr ClassCreators(std::initializer_list<Row> rows) : size_(rows.size()) {
    std::copy(rows.begin(), rows.end(), rows_.begin());
  }

  /// Null for a tag that is not accepted.
  [[nodiscard]] constexpr ClassCreator find(std::int32_t tag) const noexcept {
    for (std::size_t i = 0; i < size_; ++i) {
      if (rows_[i].tag == tag) return rows_[i].create;
    }
    return nullptr;
  }
  constexpr void add(const Row& row) { rows_.at(size_++) = row; }

 private:
  static constexpr std::size_t kMostRows = 16;

  std::array<Row, kMostRows> rows_{};
  std::size_t size_;
};

}  // namespace morvex
