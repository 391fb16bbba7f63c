#include <stdexcept>

#include "peers_common.hpp"

#if MORVEX_BENCH_BLOSC
#include <blosc.h>

namespace morvex::Bench {
namespace {

/// Frames in memory: reads nothing from a file.
class BloscFrames final : public Peer {
 public:
  BloscFrames(const Arrays& arrays, const Steps& steps, const char* codec, int level)
      : steps_(steps),
        name_(std::string(steps.empty() ? "Blosc floats, " : "Blosc integers, ") + codec + " " +
              std::to_string(level)) {
    for (std::size_t i = 0; i < arrays.size(); ++i) {
      std::vector<std::int32_t> words;
      if (!steps.empty()) words = quantised(arrays[i], steps[i]);
      const void* source =
          steps.empty() ? static_cast<const void*>(arrays[i].data()) : words.data();
      const std::size_t bytes = arrays[i].size() * 4;
      std::vector<char> frame(bytes + BLOSC_MAX_OVERHEAD);
      const int size = blosc_compress_ctx(level, BLOSC_SHUFFLE, 4, bytes, source, frame.data(),
                                          frame.size(), codec, 0, 1);
      if (size <= 0) throw std::runtime_error("Blosc could not compress");
      frame.resize(static_cast<std::size_t>(size));
      storedBytes_ += frame.size();
      frames_.push_back(std::move(frame));
    }
  }
  [[nodiscard]] const std::string& name() const override { return name_; }
  [[nodiscard]] std::uint64_t storedBytes() const override { return storedBytes_; }

  void readAll(Arrays& arrays) override {
    for (std::size_t i = 0; i < arrays.size(); ++i) {
      const std::size_t bytes = arrays[i].size() * 4;
      void* target = arrays[i].data();
      if (!steps_.empty()) {
        words_.resize(arrays[i].size());
        target = words_.data();
      }
      if (blosc_decompress_ctx(frames_[i].data(), target, bytes, 1) != static_cast<int>(bytes)) {
        throw std::runtime_error("Blosc could not decompress");
      }
      if (!steps_.empty()) scale(words_, steps_[i], arrays[i]);
    }
  }

 private:
  Steps steps_;
  std::string name_;
  std::uint64_t storedBytes_ = 0;
  std::vector<std::vector<char>> frames_;
  std::vector<std::int32_t> words_;
};

}  // namespace

void addBloscPeers(const Arrays& arrays, const Steps& steps,
                   std::vector<std::unique_ptr<Peer>>& peers) {
  for (const char* codec : {BLOSC_ZLIB_COMPNAME, BLOSC_LZ4_COMPNAME, BLOSC_ZSTD_COMPNAME}) {
    if (blosc_compname_to_compcode(codec) < 0) continue;
    peers.push_back(std::make_unique<BloscFrames>(arrays, steps, codec, 4));
  }
}

}  // namespace morvex::Bench

#else

void morvex::Bench::addBloscPeers(const Arrays&, const Steps&,
                                  std::vector<std::unique_ptr<Peer>>&) {}

#endif
