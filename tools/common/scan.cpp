#include "common/scan.hpp"

#include "common/progress_bar.hpp"

namespace morvex::tools {

void Scan::run(const std::vector<Section>& sections, const BatchReader::Receive& receive,
               const SectionFailed& failed,
               const std::function<void(std::vector<ArrayId>&)>& arrange) {
  ProgressBar bar(isQuiet_);
  // Sections whose arrays were listed, and those of them that were received.
  double listed = 0.0;
  double received = 0.0;
  BatchReader reader(
      file_,
      [&](const ArrayResult& result) {
        received = listed;
        receive(result);
      },
      [&](double part, std::uint64_t bytes) {
        bar.show((received + part * (listed - received)) / static_cast<double>(sections.size()),
                 bytes);
        return !isInterrupted();
      });
  bool wasModel = false;
  for (const Section& section : sections) {
    const bool isModel = section.of == Section::Of::kModel;
    if (wasModel && !isModel) {  // as a host does when it has read the geometry
      reader.flush();
      check(morvex_finish_geometry(file_.handle()));
    }
    wasModel = isModel;
    try {
      std::vector<ArrayId> arrays = list_.arraysOf(section);
      // Within the section only: a list of all arrays of a file could take gigabytes.
      if (arrange) arrange(arrays);
      for (const ArrayId& array : arrays) reader.add(array);
    } catch (const Error& failure) {
      failed(section, failure);
    }
    listed += 1.0;
    if (isInterrupted()) throw Interrupted{};
  }
  reader.flush();
}

}  // namespace morvex::tools
