// A host to which the system refuses threads or memory. What is asked for meanwhile is answered
// rightly or refused; never does the process end or crash; and once the limit is gone all is
// answered. Usage: limited_host FILE memory|threads

#include <grp.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <fstream>
#include <string>

#include "host_file.h"
#include "morvex/morvex_ensg.h"

namespace {

constexpr HostLibrary kLibrary{MX_openFile, MX_getNumberOfParts, MX_getPartCoordinates,
                               MX_getVariableByComponent, MX_exit};
constexpr int kThreads = 8;
constexpr int kTenths = 10;

/// Ends a child that hangs, by a signal.
constexpr unsigned kPatienceInSeconds = 120;

/// What a child tells its parent: none of the statuses with which runtimes end a process.
enum ChildStatus { kNothingRefused = 40, kSomethingRefused, kFailed };

HostAnswer ask(int question) {
  try {
    return hostAsk(&kLibrary, question);
  } catch (const std::exception&) {
    return HOST_REFUSED;
  }
}

void setSoftLimit(int resource, rlim_t limit) {
  rlimit limits{};
  ::getrlimit(static_cast<__rlimit_resource>(resource), &limits);
  limits.rlim_cur = std::min(limit, limits.rlim_max);
  ::setrlimit(static_cast<__rlimit_resource>(resource), &limits);
}

/// Bytes of address space in use.
rlim_t usedAddressSpace() {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

/// Runs `work` in a child and returns what it told; kFailed if it ended in any other way.
template <class Work>
int inChild(const std::string& name, Work&& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(kPatienceInSeconds);
    ::_exit(work());
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  const int told = WIFEXITED(status) ? WEXITSTATUS(status) : kFailed;
  if (told == kNothingRefused || told == kSomethingRefused) return told;
  std::fprintf(stderr, "%s: ended with status %x\n", name.c_str(), static_cast<unsigned>(status));
  return kFailed;
}

/// Asks everything, the first `before` questions with all the memory there is and the others with
/// no more than `headroom` bytes, and then everything again.
int readWithLittleMemory(const char* path, int before, rlim_t headroom) {
  MX_setNumberOfOmpThreads(kThreads);
  // Before the first question comes the opening.
  bool isOpen = before > 0 && MX_openFile(path, 0) == 0;
  for (int question = 0; question < before; ++question) {
    if (ask(question) != HOST_RIGHT) return kFailed;
  }
  setSoftLimit(RLIMIT_AS, usedAddressSpace() + headroom);
  bool refused = false;
  if (!isOpen) {
    isOpen = MX_openFile(path, 0) == 0;
    refused = !isOpen;
  }
  for (int question = before; isOpen && question < HOST_QUESTIONS; ++question) {
    const HostAnswer answer = ask(question);
    if (answer == HOST_WRONG) return kFailed;
    if (answer == HOST_REFUSED) refused = true;
  }
  setSoftLimit(RLIMIT_AS, RLIM_INFINITY);
  if (!isOpen && MX_openFile(path, 0) != 0) return kFailed;
  for (int question = 0; question < HOST_QUESTIONS; ++question) {
    if (ask(question) != HOST_RIGHT) return kFailed;
  }
  MX_exit();
  return refused ? kSomethingRefused : kNothingRefused;
}

/// Memory ends after each tenth of the questions, with nothing left and with a little.
bool survivesLittleMemory(const char* path) {
  int refusals = 0;
  for (int tenth = 0; tenth < kTenths; ++tenth) {
    for (const rlim_t headroom : {0U, 1U << 18U, 1U << 20U, 1U << 22U, 1U << 24U, 1U << 26U}) {
      const int before = tenth * HOST_QUESTIONS / kTenths;
      const std::string name = "tenth " + std::to_string(tenth) + ", " + std::to_string(headroom);
      const int told = inChild(name, [&] { return readWithLittleMemory(path, before, headroom); });
      if (told == kFailed) return false;
      refusals += told == kSomethingRefused ? 1 : 0;
    }
  }
  std::printf("%d of %d sessions were refused memory\n", refusals, kTenths * 6);
  return refusals > 0;  // at least the opening without any memory
}

/// A user of no other process, if this one may become it: root is refused nothing.
bool becomeNobody() {
  constexpr uid_t kNobody = 61234;
  return ::geteuid() != 0 ||
         (::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
}

/// All of a read must come right, with as many threads as there are.
int readWithFewThreads(const char* path, rlim_t processes) {
  if (MX_openFile(path, 0) != 0) return kFailed;
  MX_setNumberOfOmpThreads(kThreads);
  if (!becomeNobody()) return kFailed;  // who may not even see the file
  setSoftLimit(RLIMIT_NPROC, processes);
  for (int question = 0; question < HOST_QUESTIONS; ++question) {
    if (ask(question) != HOST_RIGHT) return kFailed;
  }
  return kNothingRefused;
}

bool survivesFewThreads(const char* path) {
  for (const rlim_t processes : {0U, 1U, 2U, 3U, 5U, 8U, 9U}) {
    const std::string name = "limit of " + std::to_string(processes) + " processes";
    if (inChild(name, [&] { return readWithFewThreads(path, processes); }) == kFailed) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  if (std::strcmp(argv[2], "memory") == 0) return survivesLittleMemory(argv[1]) ? 0 : 1;
  if (std::strcmp(argv[2], "threads") == 0) return survivesFewThreads(argv[1]) ? 0 : 1;
  return 2;
}
