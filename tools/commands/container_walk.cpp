#include "commands/container_walk.hpp"

#include "commands/stored_file.hpp"
#include "common/batch_reader.hpp"

namespace morvex::tools {
namespace {

/// Real files have four levels.
constexpr int kDeepestGroup = 32;
/// Far more than any real file has: damaged tables may list the same groups again and again.
constexpr std::uint64_t kMostEntries = 50'000'000;

}  // namespace

template <class Work>
void ContainerWalk::attempt(const std::string& what, const Work& work) {
  try {
    work();
  } catch (...) {
    onFailure_(what + ": " + innerFailureText());
  }
}

void ContainerWalk::visit(const std::string& path, int depth) {
  if (isInterrupted()) throw Interrupted{};
  if (depth > kDeepestGroup) return onFailure_(path + ": groups are nested too deeply");
  // A group that can't be listed is reported and shown as empty.
  std::vector<std::string> groups;
  std::vector<std::string> datasets;
  attempt(path, [&] { file_.listEntries(path, groups, datasets); });
  onGroup_(path, groups.size(), datasets.size());
  const std::string prefix = path == "/" ? "" : path;
  entries_ += groups.size() + datasets.size();
  if (entries_ > kMostEntries) {
    return onFailure_(path + ": too many entries, the rest is left out");
  }
  for (const std::string& name : datasets) {
    attempt(prefix + "/" + name, [&] { onDataset_(prefix.empty() ? "/" : prefix, name); });
  }
  for (const std::string& name : groups) {
    if (entries_ <= kMostEntries) visit(prefix + "/" + name, depth + 1);
  }
}

}  // namespace morvex::tools
