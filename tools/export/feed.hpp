#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
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
  Feed(const File& file, const Common& common);

  // Arrays are taken and actions run one at a time and in the order of the calls, by another thread
  // while further arrays are asked for. So they share with the caller only what neither changes.

  /// Asks for an array. What is taken is valid during the call.
  void array(const morvex_request& request, Take take);
  /// Runs an action after all that was asked for before.
  void then(std::function<void()> action);
  /// Says that no more geometry follows: what reads of coordinates kept is of no more use.
  void finishGeometry();
  /// Says how many sections follow, for the progress.
  void expect(std::size_t sections) { sections_ = static_cast<double>(sections); }
  /// Begins a section. Throws Interrupted after Ctrl-C.
  void section();
  /// Reads and hands out the rest. Throws Interrupted.
  void finish();
  /// Hands out nothing more. To be called after a failure, before what takes the arrays goes.
  void stop() noexcept { reader_.stop(); }

  /// Lists something that can't be exported. By any thread.
  void lose(const std::string& place, const std::string& reason);
  /// What can't be exported, with the reasons, by path. After finish().
  [[nodiscard]] const std::map<std::string, std::string>& losses() const noexcept {
    return losses_;
  }

 private:
  /// Lists a failure, unless the variable has no values there.
  void judge(const ArrayResult& result);

  const File& file_;
  ProgressBar bar_;
  double sections_ = 1.0;
  double asked_ = 0.0;  ///< sections that were begun
  std::mutex lossesLock_;
  std::map<std::string, std::string> losses_;
  BatchReader reader_;  ///< last: it ends before what its threads use
};

}  // namespace morvex::tools
