#include <algorithm>

#include "Bench.h"
#include "Library.h"
#include "Workload.h"

namespace bench {

namespace {

constexpr int kMostThreads = 8;
constexpr Shape kShape = {1000, 5, 1};
constexpr int kUpserts = 100;  // of each thread on one file

using Task = void (*)(Contender&, const Place&);

void SelectWhole(Contender& contender, const Place& place) {
  contender.SelectAll(place, kWholeTable);
  contender.Release();
}

void Upsert(Contender& contender, const Place& place) {
  contender.UpsertContact(place, PresentContact());
}

// Every thread has a contender of its own; the files are made before.
void Run(benchmark::State& state, const NamedContender& named, const std::vector<Place>& files,
         Task task) {
  ReportErrors(state, [&] {
    const std::unique_ptr<Contender> contender = named.make();
    const Place& place = files[static_cast<std::size_t>(state.thread_index()) % files.size()];
    for (auto _ : state) {
      task(*contender, place);
    }
  });
}

benchmark::internal::Benchmark* Register(const NamedContender& named, const std::string& task,
                                         const std::vector<Place>& files, int threads, Task run) {
  const std::string name = named.name + "/threads/" + task;
  return benchmark::RegisterBenchmark(
             name.c_str(),
             [named, files, run](benchmark::State& state) { Run(state, named, files, run); })
      ->Threads(threads)
      ->UseRealTime();
}

void RegisterAll(const std::vector<NamedContender>& contenders, const std::string& task,
                 const std::vector<Place>& files, int threads, Task run) {
  for (const NamedContender& named : contenders) {
    Register(named, task, files, threads, run);
  }
}

std::vector<Place> WholeTables(const std::string& folder) {
  std::vector<Place> files;
  for (int thread = 0; thread < kMostThreads; ++thread) {
    const Place place = WholeTable(folder, kShape);
    files.push_back(CopyOf(place, "whole-" + std::to_string(thread) + ".db"));
  }
  return files;
}

std::vector<Place> ContactFiles(const std::string& folder) {
  std::vector<Place> files;
  for (int thread = 0; thread < kMostThreads; ++thread) {
    files.push_back(ContactFile(folder, "contact-" + std::to_string(thread) + ".db"));
  }
  return files;
}

}  // namespace

void RegisterThreads(const Folders& folders, const std::vector<NamedContender>& contenders) {
  const std::vector<Place> whole = WholeTables(folders.tmpfs);
  const std::vector<Place> contacts = ContactFiles(folders.tmpfs);
  const auto library =
      std::find_if(contenders.begin(), contenders.end(),
                   [](const NamedContender& named) { return named.name == "vorn"; });
  for (int threads = 1; threads <= kMostThreads; threads *= 2) {
    RegisterAll(contenders, "select/own", whole, threads, SelectWhole);
    RegisterAll(contenders, "select/one", {whole[0]}, threads, SelectWhole);
    RegisterAll(contenders, "upsert/own", contacts, threads, Upsert);
    // Only the library waits for a busy file, and mostly it is the waiting that takes
    // the time.
    Register(*library, "upsert/one", {contacts[0]}, threads, Upsert)->Iterations(kUpserts);
  }
}

}  // namespace bench
