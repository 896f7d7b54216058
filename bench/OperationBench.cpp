#include <chrono>
#include <functional>
#include <stdexcept>
#include <utility>

#include "Bench.h"
#include "Workload.h"
#include "contenders/Contenders.h"

namespace bench {

namespace {

// One of the operations.
struct Operation {
  std::string name;
  // What is measured.
  std::function<void(Contender&, const Place&)> run;
  // What is done before each run and not measured; may be missing.
  std::function<void(Contender& raw, const Place&)> prepare;
  // Throws unless the run has done what it should.
  std::function<void(Contender&, const Place&)> check;
};

void ExpectEqual(const Columns& expected, const Columns& actual) {
  if (HashOf(expected) != HashOf(actual)) {
    throw std::runtime_error("the operation had another result than it should");
  }
}

// The file as it is made, with `change` made to it by hand.
Columns Changed(const Place& place, const std::function<void(Contender&, const Place&)>& change) {
  const Place expected = ContactFile(place.directory, "expected-" + place.file);
  change(*MakeRaw(), expected);
  return AllContacts(expected);
}

void ExpectTable(const Place& place, bool expected) {
  if (MakeRaw()->HasTable(place, "contact") != expected) {
    throw std::runtime_error("the operation had another result than it should");
  }
}

Operation Write(const std::string& name, const std::function<void(Contender&, const Place&)>& run,
                const std::function<void(Contender&, const Place&)>& prepare = nullptr) {
  return {name, run, prepare, [run](Contender& /*contender*/, const Place& place) {
            ExpectEqual(Changed(place, run), AllContacts(place));
          }};
}

Operation Query(const std::string& name, void (Contender::*run)(const Place&, const char*),
                Columns (*expected)()) {
  return {name,
          [run](Contender& contender, const Place& place) {
            (contender.*run)(place, PresentContact().uid);
            contender.Release();
          },
          nullptr,
          [run, expected](Contender& contender, const Place& place) {
            (contender.*run)(place, PresentContact().uid);
            ExpectEqual(expected(), contender.Result());
          }};
}

Contact NewContact() {
  Contact contact = PresentContact();
  contact.name = "another name";
  return contact;
}

std::vector<Operation> Operations() {
  const auto upsert = [](Contender& contender, const Place& place) {
    contender.UpsertContact(place, NewContact());
  };
  const auto create = [](Contender& contender, const Place& place) {
    contender.CreateContact(place);
  };
  const auto drop = [](Contender& contender, const Place& place) { contender.DropContact(place); };
  const auto hasTable = [](Contender& contender, const Place& place) {
    if (!contender.HasTable(place, "contact")) {
      throw std::runtime_error("the table was not found");
    }
  };
  return {
      Write("upsert", upsert),
      // SQLite writes nothing if the row is as it should be.
      Write(
          "update",
          [](Contender& contender, const Place& place) {
            contender.UpdateName(place, PresentContact().uid, "another name");
          },
          [](Contender& raw, const Place& place) {
            raw.UpdateName(place, PresentContact().uid, "a name");
          }),
      Write(
          "delete",
          [](Contender& contender, const Place& place) {
            contender.DeleteContact(place, PresentContact().uid);
          },
          upsert),
      {"create", create, drop,
       [](Contender& /*contender*/, const Place& place) { ExpectTable(place, true); }},
      {"drop", drop, create,
       [](Contender& /*contender*/, const Place& place) { ExpectTable(place, false); }},
      Query("select", &Contender::SelectContact, ContactResult),
      Query("join", &Contender::JoinNotes, NotesResult),
      {"exists", hasTable, nullptr, hasTable},
  };
}

void RunOperation(benchmark::State& state, const NamedContender& named, const std::string& folder,
                  const Operation& operation) {
  using Clock = std::chrono::steady_clock;
  ReportErrors(state, [&] {
    const Place place = ContactFile(folder, named.name + ".db");
    const std::unique_ptr<Contender> raw = MakeRaw();
    const std::unique_ptr<Contender> contender = named.make();
    for (auto _ : state) {
      if (operation.prepare) {
        operation.prepare(*raw, place);
      }
      const Clock::time_point start = Clock::now();
      operation.run(*contender, place);
      state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    operation.check(*contender, place);
  });
}

}  // namespace

void RegisterOperations(const Folders& folders) {
  for (const auto& [medium, folder] :
       {std::pair("tmpfs", folders.tmpfs), std::pair("disk", folders.disk)}) {
    for (const Operation& operation : Operations()) {
      for (const NamedContender& named : Contenders()) {
        if (named.isForQueries) {
          continue;
        }
        const std::string name = named.name + "/operation/" + operation.name + '/' + medium;
        benchmark::RegisterBenchmark(name.c_str(), [named, folder = folder,
                                                    operation](benchmark::State& state) {
          RunOperation(state, named, folder, operation);
        })->UseManualTime();
      }
    }
  }
}

}  // namespace bench
