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
#include <fstream>
#include <iomanip>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>
#include <stdexcept>

#include "Heap.h"
#include "Next.h"
#include "Objects.h"
#include "Options.h"
#include "TheOnly.h"

namespace vorncheck {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kGuide = "docs/guide.md#";

struct Suppression {
  std::string identifier;
  std::string function;
};

// The options are read when they are first needed, perhaps before our constructor runs.
struct State {
  State();

  Options options;
  std::vector<Suppression> suppressions;

  std::mutex mutex;  // for the rest
  std::map<std::pair<Kind, const void*>, unsigned long> sites;
  std::array<unsigned long, kKindCount> counts{};
  unsigned long suppressed = 0;
  unsigned long operations = 0;
  std::chrono::nanoseconds waited{};
};

State& TheState() { return TheOnly<State>(); }

std::vector<Suppression> ReadSuppressions(const std::string& path) {
  std::vector<Suppression> suppressions;
  std::ifstream file(path);
  if (!path.empty() && !file) {
    throw std::runtime_error("cannot read " + path);
  }
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line.substr(0, line.find('#')));
    Suppression suppression;
    if (words >> suppression.identifier) {
      if (!std::getline(words >> std::ws, suppression.function)) {
        throw std::runtime_error("a suppression is an identifier and a function: " + line);
      }
      suppression.function.erase(suppression.function.find_last_not_of(" \t\r") + 1);
      suppressions.push_back(suppression);
    }
  }
  return suppressions;
}

bool IsMatch(const std::string& pattern, const std::string& text) {
  return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

// A function is given with or without its parameters.
bool IsSuppressed(Kind kind, const Finding& finding) {
  const auto isOn = [](const Suppression& suppression, const Stack& stack) {
    return std::any_of(stack.begin(), stack.end(), [&](const void* address) {
      const std::string& function = FrameAt(address).function;
      return IsMatch(suppression.function, function) ||
             IsMatch(suppression.function, WithoutParameters(function));
    });
  };
  const auto& all = TheState().suppressions;
  return std::any_of(all.begin(), all.end(), [&](const Suppression& suppression) {
    return IsMatch(suppression.identifier, TextOf(kind).identifier) &&
           std::any_of(finding.stacks.begin(), finding.stacks.end(),
                       [&](const auto& stack) { return isOn(suppression, stack.second); });
  });
}

// At once, so that lines of several threads and processes are not mixed. Nobody need be there to
// read them.
void WriteAtOnce(int descriptor, const std::string& text) {
  sigset_t pipe;
  sigset_t mask;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, &mask);
  ssize_t written = 0;
  for (std::size_t done = 0; done < text.size() && (written >= 0 || errno == EINTR);) {
    written = write(descriptor, text.data() + done, text.size() - done);
    done += written > 0 ? static_cast<std::size_t>(written) : 0;
  }
  if (written < 0 && errno == EPIPE) {
    constexpr timespec kNow = {0, 0};
    sigtimedwait(&pipe, nullptr, &kNow);
  }
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

// The file is open for the time of a line only: a program may close all descriptors. False if it
// cannot be opened.
bool Append(const std::string& path, const std::string& line) {
  const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (file < 0) {
    return false;
  }
  WriteAtOnce(file, line);
  close(file);
  return true;
}

void AppendJson(const Json& json) {
  const std::string& path = TheState().options.json;
  if (!path.empty()) {
    Append(path, json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n');
  }
}

// A failed read in a loop is the same mistake each time.
unsigned long Limit(Kind kind) {
  const auto limit = static_cast<unsigned long>(TheState().options.quietAfter);
  return kind == Kind::kUnreadFailure ? 1 : limit;
}

// Returns whether the finding is to be written.
bool CountFinding(Kind kind, const void* site, bool isSuppressed) {
  State& state = TheState();
  const std::lock_guard<std::mutex> lock(state.mutex);
  if (isSuppressed) {
    ++state.suppressed;
    return false;
  }
  ++state.counts[static_cast<std::size_t>(kind)];
  const unsigned long limit = Limit(kind);
  return ++state.sites[{kind, site}] <= limit || limit == 0;
}

std::string Prefix() { return "vorncheck[" + std::to_string(getpid()) + "]: "; }

std::string Describe(const Frame& frame) {
  constexpr std::size_t kLongest = 100;
  std::ostringstream text;
  text << (frame.function.empty() ? "??" : frame.function.substr(0, kLongest));
  if (frame.file.empty()) {
    text << " (" << frame.object << "+0x" << std::hex << frame.offset << ')';
  } else {
    text << ' ' << frame.file << ':' << frame.line;
  }
  return text.str();
}

// As far as the program's own main(), but at most `limit` frames.
std::vector<Frame> FramesOf(const Stack& stack, std::size_t limit) {
  std::vector<Frame> frames;
  for (const void* const address : stack) {
    if (frames.size() < limit && (frames.empty() || frames.back().function != "main")) {
      frames.push_back(FrameAt(address));
    }
  }
  return frames;
}

std::string AsText(Kind kind, const Finding& finding, std::size_t frames) {
  std::ostringstream text;
  text << Prefix() << TextOf(kind).identifier << ": " << finding.sentence << '\n';
  if (!finding.excerpt.empty()) {
    text << "  " << finding.excerpt << '\n';
    if (finding.mark != std::string::npos) {
      text << "  " << std::string(finding.mark, ' ') << "^\n";
    }
  }
  for (const auto& [heading, stack] : finding.stacks) {
    text << "  " << heading << '\n';
    int number = 0;
    for (const Frame& frame : FramesOf(stack, frames)) {
      text << "    #" << number++ << ' ' << Describe(frame) << '\n';
    }
  }
  text << "  remedy: " << TextOf(kind).remedy << '\n'
       << "  guide: " << kGuide << TextOf(kind).section << '\n';
  return text.str();
}

// A pipe takes that much at once. A text that is longer has fewer frames.
std::string AsShortText(Kind kind, const Finding& finding) {
  std::size_t frames = kMaximumFrames;
  std::string text = AsText(kind, finding, frames);
  while (text.size() > PIPE_BUF && frames > 1) {
    text = AsText(kind, finding, --frames);
  }
  return text;
}

Json AsJson(const Stack& stack) {
  Json frames = Json::array();
  for (const Frame& frame : FramesOf(stack, kMaximumFrames)) {
    frames.push_back({{"function", frame.function},
                      {"file", frame.file},
                      {"line", frame.line},
                      {"object", frame.object},
                      {"offset", frame.offset}});
  }
  return frames;
}

Json AsJson(Kind kind, const Finding& finding) {
  Json stacks = Json::array();
  for (const auto& [heading, stack] : finding.stacks) {
    stacks.push_back({{"heading", heading}, {"frames", AsJson(stack)}});
  }
  Json json = {{"finding", TextOf(kind).identifier},
               {"process", getpid()},
               {"thread", syscall(SYS_gettid)},
               {"sentence", finding.sentence}};
  if (!finding.excerpt.empty()) {
    json["excerpt"] = finding.excerpt;
    if (finding.mark != std::string::npos) {
      json["mark"] = finding.mark;
    }
  }
  json["stacks"] = stacks;
  json["remedy"] = TextOf(kind).remedy;
  json["guide"] = std::string(kGuide) + TextOf(kind).section;
  return json;
}

void WriteSummary(unsigned long found) {
  const State& state = TheState();
  std::ostringstream text;
  text << Prefix() << "operations: " << state.operations << ", findings: " << found
       << ", suppressed: " << state.suppressed << ", waited: " << std::fixed << std::setprecision(3)
       << Seconds(state.waited) << " s\n";
  Json counts = Json::object();
  for (std::size_t kind = 0; kind < kKindCount; ++kind) {
    if (state.counts[kind] != 0) {
      text << "  " << kKinds[kind].identifier << ": " << state.counts[kind] << '\n';
      counts[kKinds[kind].identifier] = state.counts[kind];
    }
  }
  WriteAtOnce(STDERR_FILENO, text.str());
  AppendJson({{"summary", counts},
              {"process", getpid()},
              {"operations", state.operations},
              {"suppressed", state.suppressed},
              {"waited", Seconds(state.waited)}});
}

// The last handler that runs: it was registered before the program's.
void End(int /*status*/, void* /*data*/) {
  State& state = TheState();
  unsigned long found = 0;
  Aside([&] {
    const std::lock_guard<std::mutex> lock(state.mutex);
    found = std::accumulate(state.counts.begin(), state.counts.end(), 0UL);
    if (state.operations != 0 || found != 0 || state.suppressed != 0) {
      WriteSummary(found);
    }
  });
  if (found != 0 && state.options.status != 0) {
    // Goes on with another status.
    std::exit(state.options.status);
  }
}

void BeforeFork() {
  LockObjects();
  LockLargeStack();
  TheState().mutex.lock();
  LockHeap();
}

void Unlock() {
  TheState().mutex.unlock();
  UnlockLargeStack();
  UnlockObjects();
}

void AfterForkInParent() {
  UnlockHeap();
  Unlock();
}

// A child has a summary of its own.
void AfterForkInChild() {
  UnlockHeap();
  State& state = TheState();
  state.sites.clear();
  state.counts = {};
  state.suppressed = 0;
  state.operations = 0;
  state.waited = {};
  ForgetUses();
  Unlock();
}

State::State() {
  try {
    options = ReadEnvironment();
    suppressions = ReadSuppressions(options.suppressions);
  } catch (const std::exception& error) {
    WriteAtOnce(STDERR_FILENO, std::string("vorncheck: ") + error.what() + '\n');
    _exit(2);
  }
}

__attribute__((constructor)) void Start() {
  const std::string& json = TheState().options.json;
  if (!json.empty() && !Append(json, "")) {
    WriteAtOnce(STDERR_FILENO, "vorncheck: cannot write to " + json + '\n');
  }
  on_exit(End, nullptr);
  pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
}

}  // namespace

bool IsOn(Kind kind) { return TheState().options.IsOn(kind); }

bool IsWanted(Kind kind, const void* site) {
  State& state = TheState();
  if (!state.options.IsOn(kind)) {
    return false;
  }
  const std::lock_guard<std::mutex> lock(state.mutex);
  const unsigned long limit = Limit(kind);
  unsigned long& count = state.sites[{kind, site}];
  if (limit == 0 || count < limit || !state.suppressions.empty()) {
    return true;
  }
  ++count;
  ++state.counts[static_cast<std::size_t>(kind)];
  return false;
}

void Write(Kind kind, const void* site, const Finding& finding) {
  bool isWritten = false;
  OnLargeStack([&] {
    isWritten = CountFinding(kind, site, IsSuppressed(kind, finding));
    if (isWritten) {
      WriteAtOnce(STDERR_FILENO, AsShortText(kind, finding));
      AppendJson(AsJson(kind, finding));
    }
  });
  if (isWritten && TheState().options.isFatal) {
    std::abort();
  }
}

void CountOperation(std::chrono::nanoseconds waited) {
  State& state = TheState();
  const std::lock_guard<std::mutex> lock(state.mutex);
  ++state.operations;
  state.waited += waited;
}

std::chrono::milliseconds MainThreadLimit() {
  return std::chrono::milliseconds(TheState().options.mainThread);
}

std::string Shown(const std::string& text) {
  std::size_t length = std::min<std::size_t>(text.size(), 60);
  // Not inside a character of several bytes.
  while (length > 0 && length < text.size() && (text[length] & 0xC0) == 0x80) {
    --length;
  }
  std::ostringstream shown;
  shown << '"' << std::hex << std::setfill('0');
  for (const char letter : text.substr(0, length)) {
    const unsigned byte = static_cast<unsigned char>(letter);
    if (byte < ' ' || byte == 0x7F) {
      shown << "\\x" << std::setw(2) << byte;
    } else {
      shown << letter;
    }
  }
  shown << (length < text.size() ? "...\"" : "\"");
  return shown.str();
}

}  // namespace vorncheck
