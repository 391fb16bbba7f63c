#include "export/feed.hpp"

#include <utility>

namespace morvex::tools {

Feed::Feed(const File& file, const Common& common)
    : file_(file),
      bar_(common.isQuiet),
      reader_(file, common.isConcurrent(), [this](double place, std::uint64_t bytes) {
        bar_.show(place / sections_, bytes);
        return !isInterrupted();
      }) {}

void Feed::array(const morvex_request& request, Take take) {
  const auto receive = [this, take = std::move(take)](const ArrayResult& result) {
    if (result.failure) judge(result);
    take(result.failure ? std::nullopt : std::optional(result.bytes));
  };
  // The kind matters for constants alone, which are no arrays here.
  reader_.add({ArrayKind::kCoordinates, request}, receive, asked_);
}

void Feed::then(std::function<void()> action) {
  reader_.then(std::move(action));
}

void Feed::finishGeometry() {
  reader_.read();
  check(morvex_finish_geometry(file_.handle()));
}

void Feed::section() {
  asked_ += 1.0;
  if (isInterrupted()) throw Interrupted{};
}

void Feed::finish() {
  reader_.finish();
  bar_.clear();
}

void Feed::lose(const std::string& place, const std::string& reason) {
  const std::lock_guard guard(lossesLock_);
  losses_.emplace(place, reason);
}

void Feed::judge(const ArrayResult& result) {
  if (isAbsent(file_, result)) return;
  const Error& failure = *result.failure;
  const std::string place =
      failure.path().empty() ? placeOf(file_, result.id) : std::string(failure.path());
  std::string reason = failure.what();
  if (reason.starts_with(place + ": ")) reason.erase(0, place.size() + 2);
  lose(place, reason);
}

}  // namespace morvex::tools
