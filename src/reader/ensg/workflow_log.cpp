#include "reader/ensg/workflow_log.hpp"

#include <cstring>

#include "core/log.hpp"

namespace morvex {

using Kelbor::getLogger;

namespace {

constexpr const char* kRule = "#---------------------------------------------------------------\n";
constexpr const char* kShortRule = "#--------------------------------------------------------\n\n";

}  // namespace

WorkflowLog::WorkflowLog(const char* path) {
  if (!path) return;
  if (std::strlen(path) > kLongestPath) {
    getLogger().warning() << "MORVEX_WORKFLOW_LOG is longer than " << kLongestPath
                          << " bytes and is ignored";
    return;
  }
  std::strcpy(path_.data(), path);
  enabled_ = true;
}

void WorkflowLog::begin(const char* inputFile) {
  if (!enabled_) return;
  file_.reset(std::fopen(path_.data(), "w"));
  if (!file_) {
    getLogger().error() << "Failed to create file " << path_.data()
                        << "for MORVEX log output. Benchmarking data output will be disabled!";
    enabled_ = false;
    return;
  }
  getLogger().notice() << "MORVEX benchmarking is enabled!";
  write(kRule);
  write("%s\n", kRule);
  write("#MORVEX-EnSight-API Workflow\n");
  write("#Input-File : %s\n", inputFile);
  write("\n%s", kRule);
  write("%s\n", kRule);
}

void WorkflowLog::end() {
  write("[MX_exit]\n");
  write(kShortRule);
  file_.reset();
}

}  // namespace morvex
