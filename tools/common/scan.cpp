#include "common/scan.hpp"

#include "common/progress_bar.hpp"

namespace morvex::tools {

void Scan::run(const std::vector<Section>& sections, const BatchReader::Receive& receive,
               const SectionFailed& failed,
               const std::function<void(std::vector<ArrayId>&)>& arrange) {
  ProgressBar bar(common_.isQuiet);
  // Places are numbers of sections.
  BatchReader reader(file_, common_.isConcurrent(), [&](double place, std::uint64_t bytes) {
    bar.show(place / static_cast<double>(sections.size()), bytes);
    return !isInterrupted();
  });
  bool wasModel = false;
  double listed = 0.0;
  for (const Section& section : sections) {
    const bool isModel = section.of == Section::Of::kModel;
    if (wasModel && !isModel) {  // as a host does when it has read the geometry
      reader.read();
      check(morvex_finish_geometry(file_.handle()));
    }
    wasModel = isModel;
    listed += 1.0;
    std::vector<ArrayId> arrays;
    try {
      arrays = list_.arraysOf(section);
    } catch (const Error& failure) {
      reader.then([&failed, section, failure] { failed(section, failure); });
    }
    // Within the section only: a list of all arrays of a file could take gigabytes.
    if (arrange) arrange(arrays);
    for (const ArrayId& array : arrays) reader.add(array, receive, listed);
    if (isInterrupted()) throw Interrupted{};
  }
  reader.finish();
}

}  // namespace morvex::tools
