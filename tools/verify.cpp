#include "verify.hpp"

#include <algorithm>
#include <random>

#include "failure_text.hpp"
#include "hash.hpp"
#include "progress_bar.hpp"
#include "text_table.hpp"

namespace morvex::tools {
namespace {

template <class T>
void arrange(std::vector<T>& items, ReadOrder order, std::mt19937_64& random) {
  if (order == ReadOrder::backward) std::ranges::reverse(items);
  if (order == ReadOrder::random) std::ranges::shuffle(items, random);
}

std::uint64_t keyedHash(const DatasetValues& values) {
  return hashOf(values.bytes, hashOf(values.path));
}

std::string sectionName(const Contents& contents, const Section& section) {
  const std::string step = "/" + std::to_string(section.step);
  if (section.of == Section::Of::model) return "/geometry/0" + step;
  if (section.of == Section::Of::particles) return "/geometry/1" + step;
  return "/variable/" + contents.variables.at(static_cast<std::size_t>(section.variable)).name +
         step;
}

class Verification {
 public:
  Verification(Contents& contents, OutputStreams& streams)
      : contents_(contents), reader_(contents), streams_(streams) {}

  Tally run(ReadOrder order, std::uint64_t seed) {
    for (const std::string& problem : contents_.problems) fail("metadata", problem);
    guarded("static variables", [&] { settleStaticVariables(contents_, reader_); });
    std::vector<Section> sections = sectionsOf(contents_);
    std::mt19937_64 random(seed);
    arrange(sections, order, random);
    ProgressBar bar(streams_.messages(), sections.size());
    bar_ = &bar;
    std::size_t done = 0;
    bool wasModel = false;
    for (const Section& section : sections) {
      // Hosts say so once they are through with the geometry.
      const bool isModel = section.of == Section::Of::model;
      if (wasModel && !isModel) require(mxg_finished_geometry_processing());
      wasModel = isModel;
      guarded(sectionName(contents_, section), [&] {
        std::vector<ArrayId> arrays = arraysOf(contents_, section, reader_);
        arrange(arrays, order, random);
        for (const ArrayId& array : arrays) {
          read(array);
          bar.show(done, bytes_);
        }
      });
      bar.show(++done, bytes_);
    }
    bar_ = nullptr;
    return tally_;
  }

 private:
  void read(const ArrayId& array) {
    try {
      KindTally& kind = tally_.kinds.at(static_cast<std::size_t>(array.kind));
      for (const DatasetValues& values : reader_.read(array)) {
        ++kind.arrays;
        kind.bytes += values.bytes.size();
        kind.digest += keyedHash(values);
        bytes_ += values.bytes.size();
      }
    } catch (const ReadFailure& failure) {
      fail(failure.path(), failure.what());
    }
  }

  template <class Work>
  void guarded(const std::string& what, const Work& work) {
    try {
      work();
    } catch (...) {
      fail(what, failureText());
    }
  }

  void fail(const std::string& what, const std::string& reason) {
    ++tally_.failures;
    if (bar_) bar_->clear();
    put(streams_.data(), "FAILED  " + shownText(what) + ": " + shownText(reason) + "\n");
  }

  Contents& contents_;
  ArrayReader reader_;
  OutputStreams& streams_;
  ProgressBar* bar_ = nullptr;
  Tally tally_;
  std::uint64_t bytes_ = 0;
};

std::string tallyText(const Tally& tally) {
  TextTable table({"kind", ">arrays", ">bytes", "digest"});
  KindTally sum;
  for (std::size_t k = 0; k < kArrayKinds; ++k) {
    const KindTally& kind = tally.kinds[k];
    sum.arrays += kind.arrays;
    sum.bytes += kind.bytes;
    sum.digest += kind.digest;
    if (kind.arrays == 0) continue;
    table.row({kindName(static_cast<ArrayKind>(k)), std::to_string(kind.arrays),
               std::to_string(kind.bytes), digestText(kind.digest)});
  }
  table.row({"all", std::to_string(sum.arrays), std::to_string(sum.bytes), digestText(sum.digest)});
  return table.text();
}

}  // namespace

Tally verify(Contents& contents, ReadOrder order, std::uint64_t seed, OutputStreams& streams) {
  const Tally tally = Verification(contents, streams).run(order, seed);
  put(streams.data(), tallyText(tally));
  put(streams.data(), tally.failures == 0 ? "All arrays can be read.\n"
                                          : std::to_string(tally.failures) + " failed.\n");
  return tally;
}

}  // namespace morvex::tools
