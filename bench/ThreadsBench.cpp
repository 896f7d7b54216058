#include <functional>

#include "Bench.h"
#include "Workload.h"

namespace bench {

namespace {

constexpr int kMostThreads = 8;
constexpr Shape kShape = {1000, 5, 1};
constexpr int kUpserts = 100;  // of each thread on one file

void SelectWhole(Contender& contender, const Place& place) {
  contender.SelectAll(place, kWholeTable);
  contender.Release();
}

void Upsert(Contender& contender, const Place& place) {
  contender.UpsertContact(place, PresentContact());
}

using Files = std::vector<Place>;

// A file for each thread; made when the first one asks.
Files MakeFiles(const std::function<Place(const std::string& name)>& make) {
  Files files;
  for (int thread = 0; thread < kMostThreads; ++thread) {
    files.push_back(make("thread-" + std::to_string(thread)));
  }
  return files;
}

const Files& WholeTables(const std::string& folder) {
  static const Files files = MakeFiles([&folder](const std::string& name) {
    return CopyOf(WholeTable(folder, kShape), name + "-whole.db");
  });
  return files;
}

const Files& ContactFiles(const std::string& folder) {
  static const Files files = MakeFiles(
      [&folder](const std::string& name) { return ContactFile(folder, name + "-contact.db"); });
  return files;
}

struct Task {
  std::string name;
  const Files& (*makeFiles)(const std::string& folder);
  std::size_t files;  // that are used, by turns
  void (*run)(Contender&, const Place&);
};

// Every thread has a contender of its own.
void Run(benchmark::State& state, const NamedContender& named, const std::string& folder,
         const Task& task) {
  ReportErrors(state, [&] {
    const Files& files = task.makeFiles(folder);
    const std::unique_ptr<Contender> contender = named.make();
    const Place& place = files[static_cast<std::size_t>(state.thread_index()) % task.files];
    for (auto _ : state) {
      task.run(*contender, place);
    }
  });
}

benchmark::internal::Benchmark* Register(const NamedContender& named, const std::string& folder,
                                         const Task& task, int threads) {
  return benchmark::RegisterBenchmark(
             (named.name + "/threads/" + task.name).c_str(),
             [named, folder, task](benchmark::State& state) { Run(state, named, folder, task); })
      ->Threads(threads)
      ->UseRealTime();
}

}  // namespace

void RegisterThreads(const Folders& folders) {
  const Task tasks[] = {
      {"select/own", WholeTables, kMostThreads, SelectWhole},
      {"select/one", WholeTables, 1, SelectWhole},
      {"upsert/own", ContactFiles, kMostThreads, Upsert},
  };
  // How a busy file is waited for is the library's own, and mostly it is the waiting that
  // takes the time: there is nothing to compare it with.
  const Task contended = {"upsert/one", ContactFiles, 1, Upsert};
  for (int threads = 1; threads <= kMostThreads; threads *= 2) {
    for (const NamedContender& named : Contenders()) {
      for (const Task& task : tasks) {
        Register(named, folders.tmpfs, task, threads);
      }
      if (named.name == "vorn") {
        Register(named, folders.tmpfs, contended, threads)->Iterations(kUpserts);
      }
    }
  }
}

}  // namespace bench
