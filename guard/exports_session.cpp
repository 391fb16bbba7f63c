// Exports that open, close and set up, those about failures and walks, and those about time.

#include <array>

#include "morvex/morvex_ensg.h"
#include "reading.hpp"

using namespace morvex::guard;

const char* mxg_code_name(mxg_code code) {
  static constexpr std::array<const char*, 19> kNames{
      "MXG_OK",           "MXG_NO_SESSION",       "MXG_BUSY",           "MXG_NULL_POINTER",
      "MXG_OUT_OF_RANGE", "MXG_BUFFER_TOO_SMALL", "MXG_WRONG_KIND",     "MXG_NOT_DEFINED",
      "MXG_REFUSED",      "MXG_CANCELLED",        "MXG_CANNOT_OPEN",    "MXG_NO_SUCH_DATA",
      "MXG_NOT_DECODED",  "MXG_DAMAGED_DATA",     "MXG_DAMAGED_RECORD", "MXG_AMBIGUOUS",
      "MXG_TOO_LARGE",    "MXG_OUT_OF_MEMORY",    "MXG_UNKNOWN"};
  static_assert(kNames.size() == MXG_UNKNOWN + 1);
  const auto index = static_cast<std::size_t>(code);
  return index < kNames.size() ? kNames[index] : "?";
}

mxg_code mxg_begin_walk(uint64_t total, mxg_progress progress, void* user) {
  return answerAlways({}, [&](Call& call) {
    if (!progress) refuse(MXG_NULL_POINTER, "the progress function is NULL");
    call.session.walk.begin(total, progress, user);
    if (call.session.walk.isCancelled()) refuse(MXG_CANCELLED, "cancelled");
  });
}

mxg_code mxg_end_walk(void) {
  return answerAlways({}, [](Call& call) {
    if (call.session.walk.end()) refuse(MXG_CANCELLED, "cancelled");
  });
}

mxg_code mxg_open_file(const char* path, uint64_t host_value) {
  return answerAlways({}, [&](Call& call) {
    requirePointer(path, "path");
    call.session.facts.reset();
    call.session.paths.clear();
    if (MX_openFile(path, host_value) != 0) {
      refuse(MXG_CANNOT_OPEN, "Can't open " + std::string(path) + "; the message log tells why");
    }
    call.session.facts.emplace();
  });
}

mxg_code mxg_exit(void) {
  return answer({}, [](Call& call, Facts&) {
    call.session.facts.reset();
    call.session.paths.clear();
    requireAnswered(MX_exit());
  });
}

mxg_code mxg_set_number_of_omp_threads(int32_t threads) {
  return answerAlways({}, [&](Call&) {
    if (threads < 1) {
      refuse(MXG_OUT_OF_RANGE, std::to_string(threads) + " is no number of threads");
    }
    requireAnswered(MX_setNumberOfOmpThreads(threads));
  });
}

mxg_code mxg_get_reader_release(char* text, uint64_t capacity, uint64_t* count) {
  return answerAlways({}, [&](Call&) {
    std::array<char, 20> release{};
    requireAnswered(MX_getReaderRelease(release.data()));
    giveText(release.data(), text, capacity, count);
  });
}

mxg_code mxg_get_dataset_path(uint64_t index, char* text, uint64_t capacity, uint64_t* count) {
  return answer({}, [&](Call& call, Facts&) {
    if (index >= call.session.paths.size()) {
      refuse(MXG_OUT_OF_RANGE, "the last question was after " +
                                   std::to_string(call.session.paths.size()) + " datasets");
    }
    giveText(call.session.paths[index], text, capacity, count);
  });
}

mxg_code mxg_get_number_of_timesets(uint64_t* count) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(count, "count");
    *count = facts.timesets();
  });
}

mxg_code mxg_get_geometry_adaptivity_type(int32_t geometry, int32_t* type) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(type, "type");
    *type = facts.geometry(geometry).adaptivity;
  });
}

mxg_code mxg_get_model_geo_timeset(int32_t* timeset) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(timeset, "timeset");
    *timeset = facts.geometry(MXG_MODEL).timeset;
  });
}

mxg_code mxg_get_measured_geo_timeset(int32_t* timeset) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(timeset, "timeset");
    *timeset = facts.geometry(MXG_PARTICLES).timeset;
  });
}

mxg_code mxg_get_number_of_timesteps(int32_t timeset, uint64_t* count) {
  return answer({}, [&](Call&, Facts& facts) {
    requirePointer(count, "count");
    *count = facts.steps(timeset);
  });
}

mxg_code mxg_get_timesteps_values(int32_t timeset, float* values, uint64_t capacity,
                                  uint64_t* count) {
  return answer({}, [&](Call&, Facts& facts) {
    if (!wantsValues(values, capacity, facts.steps(timeset), count)) return;
    requireAnswered(MX_getTimestepsValues(timeset, values));
  });
}
