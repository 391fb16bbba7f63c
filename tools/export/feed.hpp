#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>

#include "common/batch_reader.hpp"
#include "common/progress_bar.hpp"

namespace morvex::tools {

using Bytes = std::span<const std::byte>;

/// Reads the arrays of an export by all threads, and hands them out one by one in the order in which
/// they were asked for. Arrays that can't be read are listed.
class Feed {
 public:
  /// Receives the values, or nothing where there are none: because the file is damaged, which is
  /// listed, or because a variable has no values there.
  using Take = std::function<void(std::optional<Bytes>)>;

  /// `file` is borrowed.
  Feed(const File& file, bool isQuiet);

  /// Asks for an array. What is taken is valid during the call.
  void array(const morvex_request& request, Take take);
  /// Runs an action after all that was asked for before.
  void then(std::function<void()> action);
  /// Says how many sections follow, for the progress.
  void expect(std::size_t sections) { sections_ = static_cast<double>(sections); }
  /// Begins a section. Throws Interrupted after Ctrl-C.
  void section();
  /// Reads and hands out the rest. Throws Interrupted.
  void finish();

  /// Lists something that can't be exported.
  void lose(const std::string& place, const std::string& reason);
  /// What can't be exported, with the reasons, by path.
  [[nodiscard]] const std::map<std::string, std::string>& losses() const noexcept {
    return losses_;
  }

 private:
  struct Item {
    Take take;                     ///< of an array
    std::function<void()> action;  ///< else
    double section = 0.0;
  };

  void receive(const ArrayResult& result);
  /// Runs the actions at the head of the queue, up to the next array.
  void runActions();
  /// Lists a failure, unless the variable has no values there.
  void judge(const ArrayResult& result);

  const File& file_;
  ProgressBar bar_;
  BatchReader reader_;
  std::deque<Item> items_;
  std::map<std::string, std::string> losses_;
  double sections_ = 1.0;
  double asked_ = 0.0;     ///< sections that were begun
  double received_ = 0.0;  ///< of these, the one of the last array
};

}  // namespace morvex::tools
