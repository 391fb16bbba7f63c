#pragma once

#include <morvex/morvex.hpp>
#include <vector>

#include "common/batch_reader.hpp"

namespace morvex::picture {

/// Arrays that are read in one call, by all threads of the file.
class Batch {
 public:
  /// `file` is borrowed.
  explicit Batch(const File& file) : file_(file) {}

  /// Sizes the target, which is borrowed and whose values have the type of the array's. Error.
  template <class T>
  void add(morvex_request of, std::vector<T>& target) {
    of.capacity = file_.size(of);
    target.resize(static_cast<std::size_t>(of.capacity));
    of.target = target.data();
    requests_.push_back(of);
  }
  /// Fills the targets. Error of the first array that can't be read; Interrupted after Ctrl-C.
  void read() {
    morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
    options.progress = [](void* /*user*/, std::uint64_t /*done*/, std::uint64_t /*total*/,
                          std::uint64_t /*bytes*/) -> std::int32_t {
      return tools::isInterrupted() ? 1 : 0;
    };
    const morvex_code code = file_.read(requests_, options);
    if (code == MORVEX_CANCELLED) throw tools::Interrupted{};
    check(code);
    requests_.clear();
  }

 private:
  const File& file_;
  std::vector<morvex_request> requests_;
};

}  // namespace morvex::picture
