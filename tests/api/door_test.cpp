#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "morvex/morvex.hpp"
#include "written_file.hpp"

namespace morvex {
namespace {

morvex_code codeOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Error& error) {
    EXPECT_STRNE(error.what(), "");
    return error.code();
  }
  return MORVEX_OK;
}

void describeSteps(Writer::ResultFileBuilder& file) {
  describeSmallFile(file);
  // Stored for one step alone, and no time set.
  file.variable("static", Writer::Location::kPerNode).set({}, {6, 5, 4, 3, 2, 1});
}

class Door : public testing::Test {
 protected:
  WrittenFile written_{describeSteps};
  File file_{written_.path()};

  [[nodiscard]] morvex_request of(const char* variable, int step = 0, int type = 0) const {
    return variableRequest(file_.findVariable(variable), step, 0, type);
  }
};

TEST_F(Door, RefusesArgumentsThatMakeNoSense) {
  morvex_file* opened = nullptr;
  EXPECT_EQ(morvex_open(nullptr, nullptr, &opened), MORVEX_BAD_ARGUMENT);
  EXPECT_EQ(morvex_open(written_.path().c_str(), nullptr, nullptr), MORVEX_BAD_ARGUMENT);
  morvex_open_options options = MORVEX_OPEN_OPTIONS_INIT;
  options.size = 7;
  EXPECT_EQ(morvex_open(written_.path().c_str(), &options, &opened), MORVEX_BAD_ARGUMENT);
  int foreign = 0;
  for (auto* const handle :
       {static_cast<morvex_file*>(nullptr), reinterpret_cast<morvex_file*>(&foreign)}) {
    std::uint64_t count = 0;
    EXPECT_EQ(morvex_get_part_count(handle, 0, &count), MORVEX_BAD_HANDLE);
  }
  EXPECT_EQ(morvex_close(reinterpret_cast<morvex_file*>(&foreign)), MORVEX_BAD_HANDLE);
  EXPECT_EQ(morvex_get_part_count(file_.handle(), 0, nullptr), MORVEX_BAD_ARGUMENT);
  EXPECT_STREQ(morvex_last_error()->text, "count is NULL");

  morvex_request wrong = request(MORVEX_COORDINATES);
  wrong.kind = 77;
  EXPECT_EQ(codeOf([&] { (void)file_.size(wrong); }), MORVEX_BAD_ARGUMENT);
  for (const auto& [step, part] : {std::pair{0, 2}, {0, -1}, {5, 0}, {-1, 0}}) {
    EXPECT_EQ(codeOf([&, p = part, s = step] { (void)file_.coordinates(p, s); }),
              MORVEX_OUT_OF_RANGE);
    EXPECT_EQ(morvex_last_error()->part, part);
    EXPECT_EQ(morvex_last_error()->step, step);
  }
  EXPECT_EQ(codeOf([&] { (void)file_.findVariable("nothing"); }), MORVEX_OUT_OF_RANGE);
  EXPECT_EQ(codeOf([&] { (void)file_.size(of("constant")); }), MORVEX_WRONG_KIND);
  EXPECT_EQ(codeOf([&] { (void)file_.cells(1); }), MORVEX_WRONG_KIND) << "a block";
}

TEST_F(Door, AnswersAnyStepOfWhatDoesNotChange) {
  EXPECT_EQ(file_.variable(file_.findVariable("static")).timeset, -1);
  EXPECT_EQ(file_.variable(file_.findVariable("static")).steps, 1U);
  EXPECT_EQ(file_.values(file_.findVariable("static"), 4).at(0), 6.0F);
  EXPECT_EQ(file_.times(-1), std::vector<float>{0.0F});
  EXPECT_EQ(file_.particleCount(19), 3U);
  EXPECT_EQ(file_.part(0, 4).nodes, 6U);
  EXPECT_TRUE(file_.box(0));
  EXPECT_FALSE(file_.box(4)) << "coordinates change, one state is stored";
  EXPECT_TRUE(file_.read<std::int32_t>(request(MORVEX_CONNECTIVITY)).empty()) << "no points";
}

TEST_F(Door, LeavesWhatDoesNotFitAlone) {
  morvex_request large = of("series", 1);
  std::vector<float> values(6, 42.0F);
  large.target = values.data();
  large.capacity = 5;
  EXPECT_EQ(morvex_read(file_.handle(), &large, 1, nullptr), MORVEX_TOO_SMALL);
  EXPECT_EQ(large.count, 6U);
  EXPECT_EQ(values, std::vector<float>(6, 42.0F));
  large.capacity = 6;
  large.target = nullptr;
  EXPECT_EQ(morvex_read(file_.handle(), &large, 1, nullptr), MORVEX_BAD_ARGUMENT);
}

TEST_F(Door, PutsComponentsSideBySideOrInTurn) {
  morvex_request axes = request(MORVEX_COORDINATES, 1);
  const auto turn = file_.read<float>(axes);
  axes.layout = MORVEX_INTERLEAVED;
  const auto beside = file_.read<float>(axes);
  ASSERT_EQ(turn.size(), 18U);
  for (std::size_t node = 0; node < 6; ++node) {
    for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(beside[node * 3 + c], turn[c * 6 + node]);
  }
  EXPECT_STREQ(morvex_component_name(3, 4), "xz");
  EXPECT_STREQ(morvex_component_name(2, 3), "");
}

TEST_F(Door, MakesCellsOfAllTables) {
  const Cells cells = file_.cells(0);
  EXPECT_EQ(cells.types, (std::vector<std::uint8_t>{6, 10, 10, 30, 30, 32}));
  EXPECT_EQ(cells.offsets, (std::vector<std::int64_t>{0, 3, 7, 11, 14, 18, 24}));
  EXPECT_EQ(std::vector<std::int64_t>(cells.connectivity.begin(), cells.connectivity.begin() + 7),
            (std::vector<std::int64_t>{0, 4, 5, 0, 1, 2, 3}));
  EXPECT_EQ(cells.connectivity.size(), 24U);
}

TEST_F(Door, SaysWhatIsThereAndInWhichRange) {
  EXPECT_EQ(file_.range(of("series", 3)), (std::pair{1.0, 9.0}));
  EXPECT_TRUE(file_.has(of("element", 0, 10)));
  morvex_request absent = of("exact");
  absent.part = 1;
  EXPECT_EQ(codeOf([&] { (void)file_.has(absent); }), MORVEX_NOT_DEFINED);
  char path[64];
  std::uint64_t needed = 0;
  const morvex_request axes = request(MORVEX_COORDINATES, 2);
  EXPECT_EQ(morvex_get_path(file_.handle(), &axes, 1, path, sizeof path, &needed), MORVEX_OK);
  EXPECT_STREQ(path, "/geometry/0/2/0/coordinates_1");
  EXPECT_EQ(needed, std::strlen(path) + 1);
  EXPECT_EQ(morvex_get_path(file_.handle(), &axes, 1, path, needed - 1, &needed), MORVEX_TOO_SMALL);
  EXPECT_EQ(morvex_get_path(file_.handle(), &axes, 3, path, sizeof path, &needed),
            MORVEX_OUT_OF_RANGE);
  EXPECT_EQ(file_.constant(file_.findVariable("constant"), 4), 5.0F);
}

TEST_F(Door, EndsABatchWhenToldTo) {
  std::vector<std::vector<float>> targets(5, std::vector<float>(6));
  std::vector<morvex_request> requests;
  for (int step = 0; step < 5; ++step) {
    requests.push_back(of("series", step));
    requests.back().target = targets[static_cast<std::size_t>(step)].data();
    requests.back().capacity = 6;
  }
  morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
  options.progress = [](void*, std::uint64_t done, std::uint64_t, std::uint64_t) {
    return done >= 2 ? 1 : 0;
  };
  EXPECT_EQ(file_.read(requests, options), MORVEX_CANCELLED);
  EXPECT_EQ(requests[1].code, MORVEX_OK);
  EXPECT_EQ(requests[4].code, MORVEX_CANCELLED);
  EXPECT_NO_THROW(file_.read(requests));
  EXPECT_EQ(targets[4], (std::vector<float>{4, 16, 6, 1, 2, 12}));
}

TEST(Failures, NameTheSystemsReason) {
  const TemporaryPath place("refused");
  const auto refused = [](const std::string& path) {
    morvex_file* file = nullptr;
    const morvex_code code = morvex_open(path.c_str(), nullptr, &file);
    return std::pair(code, std::string(morvex_last_error()->text));
  };
  EXPECT_EQ(refused(place.string()),
            std::pair(MORVEX_CANNOT_OPEN, std::string("No such file or directory")));
  EXPECT_EQ(refused("/"), std::pair(MORVEX_CANNOT_OPEN, std::string("Is a directory")));
  std::ofstream(place.string()) << "";
  EXPECT_EQ(refused(place.string()),
            std::pair(MORVEX_CANNOT_OPEN, std::string("The file is empty")));
  std::ofstream(place.string()) << std::string(100, 'x');
  EXPECT_EQ(refused(place.string()),
            std::pair(MORVEX_NOT_A_RESULT, std::string("File is no Sdf-File!")));
}

TEST(Failures, OfAnArrayComeAlone) {
  const WrittenFile written(describeSmallFile);
  std::vector<std::string> failures;
  const auto readSeries = [&](const File& file) {
    failures.clear();
    std::vector<std::vector<float>> targets(5, std::vector<float>(6));
    std::vector<morvex_request> requests;
    for (int step = 0; step < 5; ++step) {
      requests.push_back(variableRequest(file.findVariable("series"), step));
      requests.back().target = targets[static_cast<std::size_t>(step)].data();
      requests.back().capacity = 6;
    }
    morvex_read_options options = MORVEX_READ_OPTIONS_INIT;
    options.user = &failures;
    options.failed = [](void* user, std::uint64_t, const morvex_error* error) {
      static_cast<std::vector<std::string>*>(user)->push_back(std::string(error->path) + ": " +
                                                              error->text);
    };
    return file.read(requests, options);
  };
  {
    const File file(written.path());
    EXPECT_EQ(readSeries(file), MORVEX_OK);
    EXPECT_TRUE(failures.empty());
  }
  // Payloads are in the order of their datasets: one byte after the other until some step fails.
  const auto size = static_cast<std::streamoff>(std::filesystem::file_size(written.path()));
  bool someFailed = false;
  for (std::streamoff at = 20; at < size && !someFailed; at += 3) {
    written.spoil(at);
    try {
      const File file(written.path());
      someFailed = readSeries(file) == MORVEX_DAMAGED && failures.size() < 5;
    } catch (const Error&) {  // a record
    }
    written.spoil(at);
  }
  ASSERT_TRUE(someFailed);
  EXPECT_EQ(failures.front().substr(0, 17), "/variable/series/");
  EXPECT_NE(failures.front().find(": the dataset can't be decoded"), std::string::npos)
      << failures.front();
}

TEST(Failures, NameTheOneOfSeveralDatasetsThatFailed) {
  const WrittenFile written(describeSmallFile);
  const auto size = static_cast<std::streamoff>(std::filesystem::file_size(written.path()));
  std::set<std::string> named;
  for (std::streamoff at = 20; at < size; ++at) {
    written.spoil(at);
    try {
      const File file(written.path());
      std::string first;                             // of the axes, one by one
      const bool isWhole = file.part(0).nodes == 6;  // else the targets could be of any size
      for (int axis = 0; axis < 3 && isWhole && first.empty(); ++axis) {
        morvex_request of = request(MORVEX_COORDINATES);
        of.component = axis;
        if (codeOf([&] { (void)file.read<float>(of); }) == MORVEX_DAMAGED) {
          first = morvex_last_error()->text;
        }
      }
      if (!first.empty()) {
        EXPECT_EQ(codeOf([&] { (void)file.coordinates(0); }), MORVEX_DAMAGED);
        EXPECT_EQ(morvex_last_error()->text, first) << "byte " << at;
        named.insert(morvex_last_error()->path);
      }
    } catch (const Error&) {  // a record
    }
    written.spoil(at);
  }
  EXPECT_EQ(named.size(), 3U) << "each axis";
}

TEST(Failures, FollowAFileThatIsNoLongerTheSame) {
  const WrittenFile written(describeSmallFile);
  const File file(written.path(), 1);
  const auto before = file.coordinates(0);
  std::filesystem::remove(written.path());
  EXPECT_EQ(file.coordinates(0), before) << "the reader has it open";
}

TEST(Messages, GoToTheCallerAndNowhereElse) {
  const WrittenFile written(describeVariables);
  std::vector<std::string> lines;
  morvex_open_options options = MORVEX_OPEN_OPTIONS_INIT;
  options.user = &lines;
  options.message = [](void* user, morvex_level, const char* text) {
    static_cast<std::vector<std::string>*>(user)->push_back(text);
  };
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const File file(written.path(), options);
  (void)file.coordinates(0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(lines.empty());
  morvex_request absent = variableRequest(file.findVariable("exact"), 0);
  absent.imaginary = 1;
  EXPECT_EQ(codeOf([&] { (void)file.read<float>(absent); }), MORVEX_NO_SUCH_DATA);
  EXPECT_EQ(lines, std::vector<std::string>{"No dataset /variable/exact/0/0/1_data_imag"});
}

}  // namespace
}  // namespace morvex
