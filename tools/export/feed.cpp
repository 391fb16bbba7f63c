#include "export/feed.hpp"

#include <utility>

namespace morvex::tools {
namespace {

/// The path of an array that failed; of one whose sizes are damaged the library knows none.
std::string placeOf(const File& file, const ArrayId& array, const Error& failure) {
  if (!failure.path().empty()) return failure.path();
  try {
    return pathOf(file, array);
  } catch (const Error&) {
    return "step " + std::to_string(array.request.step) + ", part " +
           std::to_string(array.request.part);
  }
}

}  // namespace

Feed::Feed(const File& file, bool isQuiet)
    : file_(file),
      bar_(isQuiet),
      reader_(
          file, [this](const ArrayResult& result) { receive(result); },
          [this](double part, std::uint64_t bytes) {
            bar_.show((received_ + part * (asked_ - received_)) / sections_, bytes);
            return !isInterrupted();
          }) {}

void Feed::array(const morvex_request& request, Take take) {
  items_.push_back({.take = std::move(take), .action = {}, .section = asked_});
  // The kind matters for constants alone, which are no arrays here.
  reader_.add({ArrayKind::kCoordinates, request});
}

void Feed::then(std::function<void()> action) {
  items_.push_back({.take = {}, .action = std::move(action), .section = asked_});
  if (items_.size() == 1) runActions();  // nothing is waited for
}

void Feed::section() {
  asked_ += 1.0;
  if (isInterrupted()) throw Interrupted{};
}

void Feed::finish() {
  reader_.flush();
  bar_.clear();
}

void Feed::lose(const std::string& place, const std::string& reason) {
  losses_.emplace(place, reason);
}

// Arrays come in the order in which they were asked for, which is that of the items.
void Feed::receive(const ArrayResult& result) {
  const Item item = std::move(items_.front());
  items_.pop_front();
  received_ = item.section;
  if (result.failure) judge(result);
  item.take(result.failure ? std::nullopt : std::optional(result.bytes));
  runActions();
}

// An action may ask for more, which adds items at the end of the queue.
void Feed::runActions() {
  while (!items_.empty() && items_.front().action) {
    const auto action = std::move(items_.front().action);
    items_.pop_front();
    action();
  }
}

void Feed::judge(const ArrayResult& result) {
  if (isAbsent(file_, result)) return;
  const Error& failure = *result.failure;
  const std::string place = placeOf(file_, result.id, failure);
  std::string reason = failure.what();
  if (reason.starts_with(place + ": ")) reason.erase(0, place.size() + 2);
  lose(place, reason);
}

}  // namespace morvex::tools
