#pragma once

#include <morvex/morvex.hpp>
#include <vector>

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
  /// Fills the targets. Error of the first array that can't be read.
  void read() {
    file_.read(requests_);
    requests_.clear();
  }

 private:
  const File& file_;
  std::vector<morvex_request> requests_;
};

}  // namespace morvex::picture
