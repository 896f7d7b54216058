#include "PowerLossSurvey.h"

#include <algorithm>
#include <filesystem>

#include "ShimVfs.h"
#include "TestNumbers.h"
#include "WholeFile.h"

namespace {

using note_table::Content;

// The ways to lose power, within SQLite's assumptions about a disk. Unsynced changes arrive in any
// order. Of a write any sectors, a prefix or a suffix arrive; adjacent bytes do not change. A file
// may grow before its new bytes arrive.

using Arrival = SimulatedDisk::Arrival;
using Fate = SimulatedDisk::Fate;

constexpr std::size_t kSector = 512;

Arrival Lost(const DiskEvent& /*change*/) { return {}; }

Arrival FirstHalf(const DiskEvent& change) { return {{0, change.data.size() / 2}}; }

Arrival SecondHalf(const DiskEvent& change) {
  return {{change.data.size() / 2, change.data.size()}};
}

std::size_t Below(std::size_t limit, std::mt19937& random) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

// Each sector, as they are counted in the file, arrives or doesn't.
Arrival SomeSectors(const DiskEvent& change, std::mt19937& random) {
  Arrival arrival;
  std::size_t begin = 0;
  while (begin < change.data.size()) {
    const std::size_t rest = kSector - (change.offset + begin) % kSector;
    const std::size_t end = std::min(begin + rest, change.data.size());
    if (Below(2, random) == 0) {
      arrival.push_back({begin, end});
    }
    begin = end;
  }
  return arrival;
}

Arrival RandomFate(const DiskEvent& change, std::mt19937& random) {
  const std::size_t cut = Below(change.data.size(), random);
  switch (Below(5, random)) {
    case 0:
      return Lost(change);
    case 1:
      return SimulatedDisk::Whole(change);
    case 2:
      return {{0, cut}};
    case 3:
      return {{cut, change.data.size()}};
    default:
      return SomeSectors(change, random);
  }
}

// What is found then.

// A query that has nothing to repair leaves the file as it is.
Content ReadAndWatch(const TemporaryDatabase& database, int& result, bool& isRepaired) {
  const ShimVfs shim([&](const FileEvent& event) {
    const bool isChange = event.call == FileCall::kWrite || event.call == FileCall::kTruncate;
    const std::filesystem::path path = event.path;
    isRepaired |= isChange && path.filename() == database.FileName();
    return SQLITE_OK;
  });
  return note_table::Read(database, result);
}

std::string ChangeAgain(const TemporaryDatabase& file, const Content& content) {
  const note_table::Step step =
      content ? note_table::Step{"Upsert", "when the power is back", "it works"}
              : note_table::Step{"CreateTable"};
  Database database;
  if (const int result = note_table::Run(step, file, database); result != 0) {
    return "the next operation gives " + std::to_string(result);
  }
  int result = 0;
  const bool holds = note_table::Read(file, result) == note_table::After(step, content);
  return holds ? "" : "the next operation does not hold";
}

// Afterwards less is pending.
bool IsBarrier(const DiskEvent& event) {
  return event.kind != DiskEvent::Kind::kWrite && event.kind != DiskEvent::Kind::kTruncate;
}

}  // namespace

Image ReadFiles(const TemporaryDatabase& database) {
  Image image;
  for (const auto& entry : std::filesystem::directory_iterator(database.Directory())) {
    image[entry.path().filename().string()] = ReadWholeFile(entry.path());
  }
  return image;
}

void WriteFiles(const Image& image, const TemporaryDatabase& database) {
  for (const auto& entry : std::filesystem::directory_iterator(database.Directory())) {
    std::filesystem::remove(entry.path());
  }
  for (const auto& [name, content] : image) {
    WriteWholeFile(std::string(database.Directory()) + "/" + name, content);
  }
}

PowerLossSurvey::PowerLossSurvey(const History& history, DirectoryChanges directory)
    : m_history(history),
      m_directory(directory),
      m_disk(history.before),
      m_random(test_numbers::Seed()) {}

PowerLossSurvey::Result PowerLossSurvey::Run() {
  for (const DiskEvent& event : m_history.events) {
    LosePower(IsBarrier(event));
    Proceed(event);
  }
  LosePower(true);
  return m_result;
}

void PowerLossSurvey::Proceed(const DiskEvent& event) {
  m_disk.Apply(event);
  m_isRunning = event.kind != DiskEvent::Kind::kAcknowledge;
  m_hasDeleted = m_isRunning && (m_hasDeleted || event.kind == DiskEvent::Kind::kDelete);
  if (!m_isRunning) {
    ++m_acknowledged;
    m_seen.clear();
  }
}

void PowerLossSurvey::LosePower(bool inAllWays) {
  const std::size_t pending = m_disk.PendingInDirectory();
  const bool isAtOnce = m_directory == DirectoryChanges::kDurableAtOnce;
  const std::size_t first = isAtOnce ? pending : 0;
  const std::size_t end = isAtOnce ? pending + 1 : pending;
  m_result.boundaries += first < end ? 1 : 0;
  for (std::size_t changes = first; changes < end; ++changes) {
    // All or nothing of what is pending arrives; files may have grown all the same.
    Lose(changes, Lost, Growth::kNothing);
    Lose(changes, Lost, Growth::kZeros);
    Lose(changes, Lost, Growth::kGarbage);
    Lose(changes, SimulatedDisk::Whole, Growth::kNothing);
    if (inAllWays) {
      LoseEach(changes);
    }
    for (int count = test_numbers::Scaled(inAllWays ? 8 : 1); count > 0; --count) {
      constexpr Growth kGrowths[] = {Growth::kNothing, Growth::kZeros, Growth::kGarbage};
      const Growth growth = kGrowths[Below(3, m_random)];
      Lose(
          changes, [this](const DiskEvent& change) { return RandomFate(change, m_random); },
          growth);
    }
  }
}

// Each pending change in turn meets another fate than all the others, or is torn.
void PowerLossSurvey::LoseEach(std::size_t directoryChanges) {
  for (std::size_t left = m_disk.Pending(directoryChanges); left > 0; --left) {
    const auto lose = [&](const Fate& others, const Fate& own, Growth growth) {
      std::size_t until = left;
      Lose(
          directoryChanges,
          [&](const DiskEvent& change) { return --until == 0 ? own(change) : others(change); },
          growth);
    };
    lose(Lost, SimulatedDisk::Whole, Growth::kNothing);
    lose(SimulatedDisk::Whole, Lost, Growth::kGarbage);
    lose(Lost, FirstHalf, Growth::kGarbage);
    lose(SimulatedDisk::Whole, FirstHalf, Growth::kZeros);
    lose(SimulatedDisk::Whole, SecondHalf, Growth::kNothing);
  }
}

void PowerLossSurvey::Lose(std::size_t directoryChanges, const Fate& fate, Growth growth) {
  ++m_result.losses;
  // What its own operation has deleted may be back without harm.
  const bool journalIsBack = !m_hasDeleted && m_disk.RestoresFile(directoryChanges);
  const auto [image, isNew] =
      m_seen.emplace(journalIsBack, m_disk.After(directoryChanges, fate, growth));
  if (isNew) {
    Examine(image->second, journalIsBack);
  }
}

void PowerLossSurvey::Examine(const Image& image, bool journalIsBack) {
  ++m_result.images;
  WriteFiles(image, m_database);
  int result = 0;
  bool isRepaired = false;
  const Content found = ReadAndWatch(m_database, result, isRepaired);
  m_result.repairs += isRepaired ? 1 : 0;

  std::string complaint = result == 0 ? "" : "the query gives " + std::to_string(result);
  if (complaint.empty()) {
    complaint = Judge(found, journalIsBack);
  }
  const Answer integrity = m_database.Ask("PRAGMA integrity_check");
  if (integrity.cells != decltype(integrity.cells){{"integrity_check", {"ok"}}}) {
    complaint = "the file is not sound: " + integrity.message;
  }
  if (complaint.empty()) {
    complaint = ChangeAgain(m_database, found);
  }
  if (!complaint.empty() && ++m_result.damages == 1) {
    m_result.firstDamage =
        "with " + std::to_string(m_acknowledged) + " operations acknowledged, at boundary " +
        std::to_string(m_result.boundaries) + ", loss " + std::to_string(m_result.losses) +
        ", seed " + std::to_string(test_numbers::Seed()) + ": " + complaint;
  }
}

// The complaint about the content, if any.
std::string PowerLossSurvey::Judge(const Content& found, bool journalIsBack) {
  const std::vector<Content>& contents = m_history.contents;
  const Content& acknowledged = contents[m_acknowledged];
  if (found == acknowledged || (m_isRunning && m_acknowledged + 1 < contents.size() &&
                                found == contents[m_acknowledged + 1])) {
    return "";
  }
  // Operations that change nothing leave no journal.
  std::size_t last = m_acknowledged;
  while (last > 0 && contents[last] == acknowledged) {
    --last;
  }
  if (journalIsBack && found == contents[last]) {
    ++m_result.undone;
    return "";
  }
  return "the content is neither that before the operation nor that after it";
}
