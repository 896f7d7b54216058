#include "Report.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string_view>

#include "Check.h"

namespace vorncheck {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Frame, function, file, line, object, offset)

namespace {

using Json = nlohmann::json;

struct Counts {
  std::map<std::pair<Kind, const void*>, unsigned long> sites;
  std::array<unsigned long, kKindCount> kinds{};
  unsigned long suppressed = 0;
  unsigned long operations = 0;
  std::chrono::nanoseconds waited{};
};

Counts& TheCounts() { return TheOnly<Counts>(); }

// Those of the current check.
using Findings = std::vector<Finding>;
Findings& TheFindings() { return TheOnly<Findings>(); }

double Seconds(std::chrono::nanoseconds duration) {
  return std::chrono::duration<double>(duration).count();
}

std::string Prefix() { return Text("vorncheck[", getpid(), "]: "); }

// --- Output

// At once, so that lines of several threads and processes are not mixed.
bool WriteAtOnce(int descriptor, std::string_view text) {
  ssize_t written = 1;
  // A stop of the process can cut a write to a pipe.
  while (written > 0 && !text.empty()) {
    written = write(descriptor, text.data(), text.size());
    text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
  }
  return text.empty();
}

// The file is open for the time of a line only: a program may close all descriptors.
void AppendLine(const std::string& path, const std::string& line) {
  const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (file < 0 || !WriteAtOnce(file, line)) {
    WriteAtOnce(STDERR_FILENO, "vorncheck: cannot write to " + path + '\n');
  }
  close(file);
}

void Write(const std::string& text, const Json& json) {
  WriteAtOnce(STDERR_FILENO, text);
  const std::string& path = TheOptions().json;
  if (!path.empty()) {
    AppendLine(path, json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n');
  }
}

// No signal reaches the thread, nor one that begins, while this lives.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_mask);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_mask, nullptr); }

 private:
  sigset_t m_mask{};
};

using Task = std::function<void()>;

// Drops a task that runs out of memory, as a check.
void* RunTask(void* task) noexcept {
  try {
    (*static_cast<const Task*>(task))();
  } catch (...) {
  }
  return nullptr;
}

// On a thread of our own, whose stack suffices for debug information, and with which a SIGPIPE
// ends. Without one, on this thread.
void RunApart(Task task) {
  constexpr std::size_t kStack = std::size_t{1} << 20;
  const SignalsBlocked blocked;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStack);
  pthread_t thread{};
  if (pthread_create(&thread, &attributes, RunTask, &task) == 0) {
    pthread_join(thread, nullptr);
  } else {
    RunTask(&task);
  }
  pthread_attr_destroy(&attributes);
}

// --- Findings

// Either pattern may have * and ?. A function is given with or without its parameters.
bool IsMatch(const std::string& suppression, const std::string& call) {
  return fnmatch(suppression.c_str(), call.c_str(), 0) == 0 ||
         fnmatch((suppression + "(*").c_str(), call.c_str(), 0) == 0;
}

bool IsSuppressed(const Finding& finding) {
  for (const auto& [heading, stack] : finding.stacks) {
    for (const Frame& frame : FramesOf(stack)) {
      const std::string call = Text(TextOf(finding.kind).identifier, ' ', frame.function);
      for (const std::string& suppression : TheOptions().suppressions) {
        if (IsMatch(suppression, call)) {
          return true;
        }
      }
    }
  }
  return false;
}

std::string GuideTo(Kind kind) { return Text("docs/guide.md#", TextOf(kind).identifier); }

std::string Describe(const Frame& frame) {
  constexpr std::size_t kLongest = 100;
  return Text(frame.function.empty() ? "??" : frame.function.substr(0, kLongest), ' ') +
         (frame.file.empty() ? Text('(', frame.object, "+0x", std::hex, frame.offset, ')')
                             : Text(frame.file, ':', frame.line));
}

std::string AsText(const Finding& finding, std::size_t limit) {
  const KindText& kind = TextOf(finding.kind);
  std::string text = Text(Prefix(), kind.identifier, ": ", finding.sentence, '\n');
  if (!finding.excerpt.empty()) {
    text += Text("  ", finding.excerpt, "\n  ", std::string(finding.mark, ' '), "^\n");
  }
  for (const auto& [heading, stack] : finding.stacks) {
    text += Text("  ", heading, '\n');
    const auto frames = FramesOf(stack);
    for (std::size_t number = 0; number < std::min(frames.size(), limit); ++number) {
      text += Text("    #", number, ' ', Describe(frames[number]), '\n');
    }
  }
  return text + Text("  remedy: ", kind.remedy, "\n  guide: ", GuideTo(finding.kind), '\n');
}

// A pipe takes that much at once. A text that is longer has fewer frames.
std::string AsShortText(const Finding& finding) {
  std::size_t limit = kMaximumFrames;
  std::string text = AsText(finding, limit);
  while (text.size() > PIPE_BUF && limit > 1) {
    text = AsText(finding, --limit);
  }
  return text;
}

Json AsJson(const Finding& finding) {
  Json stacks = Json::array();
  for (const auto& [heading, stack] : finding.stacks) {
    stacks.push_back({{"heading", heading}, {"frames", FramesOf(stack)}});
  }
  const KindText& kind = TextOf(finding.kind);
  return {{"finding", kind.identifier},
          {"process", getpid()},
          {"thread", finding.thread},
          {"sentence", finding.sentence},
          {"excerpt", finding.excerpt},
          {"mark", finding.mark},
          {"stacks", stacks},
          {"remedy", kind.remedy},
          {"guide", GuideTo(finding.kind)}};
}

// A failed read in a loop is the same mistake each time.
unsigned long Limit(Kind kind) {
  const auto limit = static_cast<unsigned long>(TheOptions().quietAfter);
  return kind == Kind::kUnreadFailure ? 1 : limit == 0 ? ULONG_MAX : limit;
}

// Returns whether the finding is to be written.
bool Count(const Finding& finding) {
  ++TheCounts().kinds[static_cast<std::size_t>(finding.kind)];
  return ++TheCounts().sites[{finding.kind, finding.site}] <= Limit(finding.kind);
}

bool CountUnlessSuppressed(const Finding& finding) {
  const bool isSuppressed = !TheOptions().suppressions.empty() && IsSuppressed(finding);
  const std::lock_guard<std::mutex> lock(CheckMutex());
  TheCounts().suppressed += isSuppressed ? 1 : 0;
  return !isSuppressed && Count(finding);
}

// Returns whether one was written.
bool WriteFindings(const Findings& findings) {
  bool isWritten = false;
  RunApart([&] {
    for (const Finding& finding : findings) {
      if (!(isWritten && TheOptions().isFatal) && CountUnlessSuppressed(finding)) {
        Write(AsShortText(finding), AsJson(finding));
        isWritten = true;
      }
    }
  });
  return isWritten;
}

// --- The end

void WriteSummary(unsigned long found) {
  const Counts& counts = TheCounts();
  std::string text =
      Text(Prefix(), "operations: ", counts.operations, ", findings: ", found,
           ", suppressed: ", counts.suppressed, ", waited: ", Shown(counts.waited), '\n');
  Json kinds = Json::object();
  for (std::size_t kind = 0; kind < kKindCount; ++kind) {
    if (counts.kinds[kind] != 0) {
      text += Text("  ", kKinds[kind].identifier, ": ", counts.kinds[kind], '\n');
      kinds[kKinds[kind].identifier] = counts.kinds[kind];
    }
  }
  Write(text, {{"summary", kinds},
               {"process", getpid()},
               {"operations", counts.operations},
               {"suppressed", counts.suppressed},
               {"waited", Seconds(counts.waited)}});
}

// The last handler that runs: it was registered before the program's.
void End(int /*status*/, void* /*data*/) {
  unsigned long found = 0;
  Check([&found] {
    const Counts& counts = TheCounts();
    found = std::accumulate(counts.kinds.begin(), counts.kinds.end(), 0UL);
    if (counts.operations != 0 || found != 0 || counts.suppressed != 0) {
      RunApart([found] { WriteSummary(found); });
    }
  });
  if (found != 0 && TheOptions().status != 0) {
    // Goes on with another status.
    std::exit(TheOptions().status);
  }
}

}  // namespace

std::mutex& WriteMutex() {
  struct Mutex : std::mutex {};
  return TheOnly<Mutex>();
}

void Report(Finding finding) {
  const auto kind = static_cast<std::size_t>(finding.kind);
  if (!TheOptions().kinds[kind]) {
    return;
  }
  const bool isQuiet = TheCounts().sites[{finding.kind, finding.site}] >= Limit(finding.kind);
  if (isQuiet && TheOptions().suppressions.empty()) {
    Count(finding);
    return;
  }
  finding.thread = syscall(SYS_gettid);
  finding.stacks.insert(finding.stacks.begin(), {"called at", StackFrom(finding.site)});
  TheFindings().push_back(std::move(finding));
}

void UnlockAndWrite() noexcept {
  const Findings findings = std::exchange(TheFindings(), {});
  CheckMutex().unlock();
  bool isWritten = false;
  if (!findings.empty()) {
    // A handler may end the program: it runs when all is unlocked.
    const SignalsBlocked blocked;
    const std::lock_guard<std::mutex> lock(WriteMutex());
    isWritten = WriteFindings(findings);
  }
  if (isWritten && TheOptions().isFatal) {
    std::abort();
  }
}

void BeginReport() {
  // The first stack loads the unwinder.
  StackFrom(nullptr);
  if (!TheOptions().json.empty()) {
    RunApart([] { AppendLine(TheOptions().json, ""); });
  }
  on_exit(End, nullptr);
}

void CountOperation(std::chrono::nanoseconds waited) {
  ++TheCounts().operations;
  TheCounts().waited += waited;
}

void ForgetCounts() { TheCounts() = {}; }

std::string Shown(const std::string& text) {
  constexpr std::size_t kLongest = 60;
  const Json start = text.substr(0, kLongest);
  return start.dump(-1, ' ', false, Json::error_handler_t::replace) +
         (text.size() > kLongest ? "..." : "");
}

std::string Shown(std::chrono::nanoseconds duration) {
  return Text(std::fixed, std::setprecision(3), Seconds(duration), " s");
}

}  // namespace vorncheck
