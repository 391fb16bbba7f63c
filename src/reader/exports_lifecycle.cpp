// Exports that open, end and set up, and those about time.

#include <cstring>
#include <string_view>

#include "morvex/morvex_ensg.h"
#include "platform/thread_count.hpp"
#include "reader/session.hpp"

using morvex::GenericMXReader;
using morvex::onReader;
using morvex::session;

namespace {

constexpr std::string_view kRelease = "7.0.1";
constexpr std::size_t kReleaseSize = 20;

}  // namespace

int MX_openFile(const char* file_path, uint64_t host_value) {
  return session().open(file_path, host_value);
}

int MX_exit(void) {
  session().close();
  return 0;
}

int MX_setNumberOfOmpThreads(int threads) {
  Kelbor::Platform::setThreadCount(threads);
  if (Kelbor::Platform::threadCount() != threads) return -1;
  session().numberOfOmpThreads = threads;
  return 0;
}

int MX_getReaderRelease(char* release) {
  std::memset(release, 0, kReleaseSize);
  kRelease.copy(release, kReleaseSize - 1);
  return 0;
}

int MX_getNumberOfTimesets(void) {
  return onReader(__func__, 0, [](GenericMXReader& r) { return r.getNumberOfTimesets(); });
}

int MX_getGeometryAdaptivityType(int geometry_type) {
  return onReader(__func__, -1,
                  [&](GenericMXReader& r) { return r.getGeometryAdaptivityType(geometry_type); });
}

int MX_getModelGeoTimeset(void) {
  return onReader(__func__, -1, [](GenericMXReader& r) { return r.getModelGeoTimeset(); });
}

int MX_getMeasuredGeoTimeset(void) {
  return onReader(__func__, -1, [](GenericMXReader& r) { return r.getMeasuredGeoTimeset(); });
}

int MX_getNumberOfTimesteps(int timeset) {
  return onReader(__func__, 0, [&](GenericMXReader& r) { return r.getNumberOfTimesteps(timeset); });
}

int MX_getTimestepsValues(int timeset, float* values) {
  return onReader(__func__, -1,
                  [&](GenericMXReader& r) { return r.getTimestepsValues(timeset, values); });
}
