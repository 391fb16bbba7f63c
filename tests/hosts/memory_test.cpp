#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "core/error.hpp"
#include "morvex/morvex_ensg.h"
#include "support/log_capture.hpp"
#include "support/stored_forms.hpp"
#include "support/temporary_path.hpp"

// Every block that the library takes, by operator new or by malloc, is taken here, and the n-th one
// can be refused. The linker turns the library's calls of malloc into those of __wrap_malloc; what
// zlib, the C library and the parallel runtime take for themselves does not come by.
namespace {

std::atomic<long> blocksAlive{0};
std::atomic<bool> isCounting{false};
std::atomic<long> blocksUntilRefusal{0};
std::atomic<long> blocksRefused{0};

bool isRefused() {
  if (!isCounting || --blocksUntilRefusal != 0) return false;
  ++blocksRefused;
  return true;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
  if (isRefused()) return nullptr;
  void* const block = __real_malloc(size);
  if (block) ++blocksAlive;
  return block;
}
void* __wrap_realloc(void* block, std::size_t size) {
  if (isRefused()) return nullptr;
  if (!block) ++blocksAlive;
  return __real_realloc(block, size);
}
void __wrap_free(void* block) {
  if (block) --blocksAlive;
  __real_free(block);
}
}

void* operator new(std::size_t size) {
  if (void* const block = __wrap_malloc(size == 0 ? 1 : size)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return __wrap_malloc(size);
}
void operator delete(void* block) noexcept {
  __wrap_free(block);
}
void operator delete[](void* block) noexcept {
  __wrap_free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  __wrap_free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  __wrap_free(block);
}

namespace morvex {
namespace {

/// Refuses the library the n-th block that it wants while this lives.
class Refusal {
 public:
  static void arm(long n) {
    blocksUntilRefusal = n;
    blocksRefused = 0;
  }
  Refusal() { isCounting = true; }
  ~Refusal() { isCounting = false; }
  Refusal(const Refusal&) = delete;
  Refusal& operator=(const Refusal&) = delete;
};

/// What the library answers to one question; equal answers have equal bytes.
struct Answer {
  int status = 0;
  std::array<float, 32> floats{};
  std::array<int, 128> numbers{};
  auto operator<=>(const Answer&) const = default;
};

/// Writes to `x` or `n`, of the answer.
using Question = std::function<int(float* x, int* n)>;

/// Questions to the small file, one for each way of storing and each table.
std::vector<Question> questions() {
  std::vector<Question> all{
      [](float*, int*) { return MX_getNumberOfParts(); },
      [](float* x, int*) { return MX_getBoundingBox(0, x); },
      [](float* x, int*) { return MX_getTimestepsValues(0, x); },
      [](float* x, int*) { return MX_getPartCoordinates(0, 0, x, x + 8, x + 16); },
      [](float* x, int*) { return MX_getPartCoordinates(3, 0, x, x + 8, x + 16); },
      [](float* x, int*) { return MX_getBlockStructuredCoordinates(0, 1, x, x + 8, x + 16); },
      [](float* x, int*) { return MX_getBlockStructuredCoordinates(3, 1, x, x + 8, x + 16); },
      [](float* x, int*) { return MX_getMeasuredParticleCoordinates(0, x, x + 8, x + 16); },
      [](float*, int* n) { return MX_getElementConnectivity(0, 0, 6, n); },
      [](float*, int* n) { return MX_getElementConnectivity(0, 0, 10, n); },
      [](float*, int* n) { return MX_getNSidedNumberOfNodesPerFace(0, 0, n); },
      [](float*, int* n) { return MX_getNSidedConnectivity(0, 0, n); },
      [](float*, int* n) { return MX_getNFacedNodesPerFace(0, 0, n); },
      [](float*, int* n) { return MX_getNFacedConnectivity(0, 0, n); },
      [](float*, int* n) { return MX_hasBorderFaces(0, 0, n); },
      [](float*, int* n) {
        short type = 0;
        const int status = MX_getBorderFacesConnByType(0, 0, 6, n, n + 64, &type);
        n[100] = type;
        return status;
      },
      [](float* x, int*) { return MX_getConstantValue(2, 4, x, x + 1); }};
  struct Values {
    int variable, step, elementType, type, imaginary, component;
  };
  for (const Values& v :
       {Values{0, 0, 0, 2, 0, 2}, Values{0, 0, 0, 2, 1, 0}, Values{1, 3, 0, 1, 0, 0},
        Values{1, 1, 0, 1, 0, 0}, Values{2, 0, 0, 1, 0, 0}, Values{3, 0, 10, 1, 0, 0}}) {
    all.emplace_back([v](float* x, int*) {
      return MX_getVariableByComponent(v.step, 0, v.variable, 0, v.type, v.elementType, v.imaginary,
                                       v.component, x);
    });
  }
  return all;
}

/// Asks while blocks may be refused. False for an exception.
bool ask(const Question& question, Answer& answer) {
  const Refusal refusal;
  try {
    answer.status = question(answer.floats.data(), answer.numbers.data());
    return true;
  } catch (const std::exception&) {
  } catch (const Exception&) {
  }
  return false;
}

class MemoryTest : public testing::TestWithParam<int> {
 protected:
  MemoryTest() {
    Writer::ResultFileBuilder file;
    describeSmallFile(file);
    file.tableChunks(4);
    file.write(path_.string());
    MX_setNumberOfOmpThreads(GetParam());
  }

  int open() {
    const std::string path = path_.string();
    const Refusal refusal;
    return MX_openFile(path.c_str(), 0);
  }

  /// All answers with nothing refused.
  std::vector<Answer> askAll() {
    Refusal::arm(-1);
    std::vector<Answer> answers(questions_.size());
    EXPECT_EQ(open(), 0);
    for (std::size_t q = 0; q < questions_.size(); ++q) {
      EXPECT_TRUE(ask(questions_[q], answers[q])) << "question " << q;
    }
    MX_exit();
    return answers;
  }

  Kelbor::LogCapture log_{Kelbor::LogLevel::kSilent};
  TemporaryPath path_{"memory.sdf"};
  std::vector<Question> questions_ = questions();
};

/// Refuses the blocks of a session in turn, from the first that opening takes to the last one of
/// the last question.
TEST_P(MemoryTest, EachBlockRefusedFailsOneQuestionAndNoOther) {
  askAll();  // what is made once in a process is there from now on
  const std::vector<Answer> expected = askAll();
  const long alive = blocksAlive;
  // Streams are kept for later: as many as were in use at once, which differs with more threads.
  const long mostIdle = GetParam() == 1 ? 0 : 16;
  long failures = 0;
  long n = 1;
  // Which thread takes the n-th block is chance: with several, some of them will do.
  const long stride = GetParam() == 1 ? 1 : 17;
  for (;; n += stride) {
    Refusal::arm(n);
    int opened = open();
    if (opened != 0) {
      ASSERT_EQ(blocksRefused, 1) << "block " << n;
      ++failures;
      EXPECT_EQ(MX_getNumberOfParts(), 0) << "no session is left";
      opened = open();
    }
    ASSERT_EQ(opened, 0) << "block " << n;
    for (std::size_t q = 0; q < questions_.size(); ++q) {
      const long refusedBefore = blocksRefused;
      Answer answer;
      if (!ask(questions_[q], answer)) {
        ASSERT_EQ(blocksRefused, refusedBefore + 1) << "block " << n << ", question " << q;
        ++failures;
        answer = {};
        ASSERT_TRUE(ask(questions_[q], answer)) << "block " << n << ", question " << q;
      }
      ASSERT_TRUE(answer == expected[q]) << "block " << n << ", question " << q;
    }
    MX_exit();
    ASSERT_GE(blocksAlive, alive) << "block " << n;
    ASSERT_LE(blocksAlive, alive + mostIdle) << "block " << n;
    if (blocksRefused == 0) break;  // the session takes fewer
  }
  EXPECT_GT(n, 2000);
  EXPECT_GT(failures, n / stride / 2);
  RecordProperty("blocks", std::to_string(n - 1));
}

INSTANTIATE_TEST_SUITE_P(Threads, MemoryTest, testing::Values(1, 3));

}  // namespace
}  // namespace morvex
