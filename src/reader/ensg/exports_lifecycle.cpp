// Exports that open, close and configure, and those about time.

#include <cstring>

#include "morvex/morvex_ensg.h"
#include "platform/thread_count.hpp"
#include "reader/ensg/session.hpp"
#include "reader/release.hpp"

using morvex::ask;
using morvex::GenericMXReader;
using morvex::kRelease;
using morvex::session;

namespace {

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
  return ask(__func__, 0, &GenericMXReader::getNumberOfTimesets);
}

int MX_getGeometryAdaptivityType(int geometry_type) {
  return ask(__func__, -1, &GenericMXReader::getGeometryAdaptivityType, geometry_type);
}

int MX_getModelGeoTimeset(void) {
  return ask(__func__, -1, &GenericMXReader::getModelGeoTimeset);
}

int MX_getMeasuredGeoTimeset(void) {
  return ask(__func__, -1, &GenericMXReader::getMeasuredGeoTimeset);
}

int MX_getNumberOfTimesteps(int timeset) {
  return ask(__func__, 0, &GenericMXReader::getNumberOfTimesteps, timeset);
}

int MX_getTimestepsValues(int timeset, float* values) {
  return ask(__func__, -1, &GenericMXReader::getTimestepsValues, timeset, values);
}
