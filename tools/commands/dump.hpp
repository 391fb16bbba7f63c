#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "commands/stored_file.hpp"

namespace morvex::tools {

/// Writes the content of a container as text, as far as the file can be read. What can't be read is
/// reported in its place and counted.
class Dump {
 public:
  /// Borrowed.
  explicit Dump(StoredFile& stored) : stored_(stored), file_(stored.file()) {}

  /// The recipes: their chains in words. dump_recipes.cpp.
  void recipes();
  /// The metadata records, field by field. Tables longer than `limit` are cut. dump_records.cpp.
  void records(std::size_t limit);
  /// The groups and datasets below a group, with sizes and recipes. dump_tree.cpp.
  void tree(const std::string& group);

  /// Places that could not be read.
  [[nodiscard]] std::uint64_t failures() const noexcept { return failures_; }

 private:
  /// Sums over the datasets below a group.
  struct Subtree {
    std::uint64_t datasets = 0;
    std::uint64_t logicalBytes = 0;
    std::uint64_t storedBytes = 0;
  };

  /// Writes a line, broken at the width of the terminal.
  void line(const std::string& text);
  void heading(const std::string& text);
  /// Runs a piece of work; a failure becomes a line.
  template <class Work>
  void attempt(const std::string& what, const Work& work);
  void fail(const std::string& what);

  void dataset(const std::string& group, const std::string& name, Subtree& total);
  /// The recipe that rebuilds a dataset, by number and label; begins with two blanks.
  [[nodiscard]] std::string recipeText(const std::string& group, const std::string& name);

  StoredFile& stored_;
  Kelbor::MathModule::SdfFile& file_;
  std::uint64_t failures_ = 0;
};

template <class Work>
void Dump::attempt(const std::string& what, const Work& work) {
  try {
    work();
  } catch (...) {
    fail(what + ": " + innerFailureText());
  }
}

}  // namespace morvex::tools
