#pragma once

#include <functional>
#include <string>
#include <vector>

#include "common/batch_reader.hpp"

namespace morvex::tools {

/// Reads all arrays of the sections, in their order, with progress on a terminal.
class Scan {
 public:
  /// Of a section whose sizes are unknown, so that its arrays can't be listed.
  using SectionFailed = std::function<void(const Section&, const Error&)>;

  /// All are borrowed.
  Scan(const File& file, ArrayList& list, const Common& common)
      : file_(file), list_(list), common_(common) {}

  /// `receive` and `failed` are called one at a time and in order, maybe by another thread while
  /// further arrays are listed and read. `arrange` may change the order of a section's arrays; it may
  /// be empty. Throws Interrupted.
  void run(const std::vector<Section>& sections, const BatchReader::Receive& receive,
           const SectionFailed& failed,
           const std::function<void(std::vector<ArrayId>&)>& arrange = {});

 private:
  const File& file_;
  ArrayList& list_;
  const Common& common_;
};

}  // namespace morvex::tools
