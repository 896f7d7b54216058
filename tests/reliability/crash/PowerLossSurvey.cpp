#include "PowerLossSurvey.h"

#include <algorithm>
#include <filesystem>

#include "ShimVfs.h"
#include "TestNumbers.h"
#include "WholeFile.h"

namespace {

using note_table::Content;
using note_table::Step;

// The ways in which power can be lost. What SQLite expects of a disk is their limit: what
// is not synced arrives in any order; of a write any sectors arrive, or the bytes up to any
// place, or from there; bytes around it stay as they are; and a file may grow before the
// bytes arrive that it grows by.

using Arrival = std::vector<Extent>;
using Span = SimulatedDisk::Span;
using Growth = PowerLoss::Growth;

constexpr std::size_t kSector = 512;

Arrival Lost(const Span& /*span*/) { return {}; }

Arrival Whole(const Span& span) { return {{0, span.size}}; }

std::vector<Arrival> All(const std::vector<Span>& spans, Arrival (*fate)(const Span&)) {
  std::vector<Arrival> arrivals(spans.size());
  std::transform(spans.begin(), spans.end(), arrivals.begin(), fate);
  return arrivals;
}

std::size_t Below(std::size_t limit, std::mt19937& random) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

// Each sector, as they are counted in the file, arrives or doesn't.
Arrival SomeSectors(const Span& span, std::mt19937& random) {
  Arrival arrival;
  std::size_t begin = 0;
  while (begin < span.size) {
    const std::size_t rest = kSector - (span.offset + begin) % kSector;
    const std::size_t end = std::min(begin + rest, span.size);
    if (Below(2, random) == 0) {
      arrival.push_back({begin, end});
    }
    begin = end;
  }
  return arrival;
}

Arrival RandomFate(const Span& span, std::mt19937& random) {
  const std::size_t cut = Below(span.size, random);
  switch (Below(5, random)) {
    case 0:
      return Lost(span);
    case 1:
      return Whole(span);
    case 2:
      return {{0, cut}};
    case 3:
      return {{cut, span.size}};
    default:
      return SomeSectors(span, random);
  }
}

// All or nothing of what is pending arrives; files may have grown all the same.
std::vector<PowerLoss> PlainLosses(const SimulatedDisk& disk, std::size_t directoryChanges) {
  const std::vector<Span> pending = disk.Pending(directoryChanges);
  return {{directoryChanges, All(pending, Lost), Growth::kNothing},
          {directoryChanges, All(pending, Lost), Growth::kZeros},
          {directoryChanges, All(pending, Lost), Growth::kGarbage},
          {directoryChanges, All(pending, Whole), Growth::kNothing}};
}

// Each pending change in turn meets another fate than all the others, or is torn.
std::vector<PowerLoss> LossesOfEachChange(const SimulatedDisk& disk, std::size_t directoryChanges) {
  const std::vector<Span> pending = disk.Pending(directoryChanges);
  std::vector<PowerLoss> losses;
  for (std::size_t index = 0; index < pending.size(); ++index) {
    const auto add = [&](std::vector<Arrival> arrivals, Arrival fate, Growth growth) {
      arrivals[index] = std::move(fate);
      losses.push_back({directoryChanges, std::move(arrivals), growth});
    };
    const Span& span = pending[index];
    const std::size_t middle = span.size / 2;
    add(All(pending, Lost), Whole(span), Growth::kNothing);
    add(All(pending, Whole), Lost(span), Growth::kGarbage);
    add(All(pending, Lost), {{0, middle}}, Growth::kGarbage);
    add(All(pending, Whole), {{0, middle}}, Growth::kZeros);
    add(All(pending, Whole), {{middle, span.size}}, Growth::kNothing);
  }
  return losses;
}

// Every pending change meets a fate of its own.
PowerLoss RandomLoss(const SimulatedDisk& disk, std::size_t directoryChanges,
                     std::mt19937& random) {
  std::vector<Arrival> arrivals;
  for (const Span& span : disk.Pending(directoryChanges)) {
    arrivals.push_back(RandomFate(span, random));
  }
  constexpr Growth kGrowths[] = {Growth::kNothing, Growth::kZeros, Growth::kGarbage};
  return {directoryChanges, std::move(arrivals), kGrowths[Below(3, random)]};
}

// What is found then.

std::string IntegrityOf(const std::string& path) {
  sqlite3* db = nullptr;
  std::string answer;
  sqlite3_open(path.c_str(), &db);
  const auto append = [](void* text, int, char** values, char**) {
    *static_cast<std::string*>(text) += values[0];
    return 0;
  };
  if (sqlite3_exec(db, "PRAGMA integrity_check", append, &answer, nullptr) != SQLITE_OK) {
    answer += sqlite3_errmsg(db);
  }
  sqlite3_close(db);
  return answer;
}

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

std::string ChangeAgain(const TemporaryDatabase& database, const Content& content) {
  const Step step =
      content ? Step{"Upsert", "when the power is back", "it works"} : Step{"CreateTable", "", ""};
  if (const int result = note_table::Run(step, database); result != 0) {
    return "the next operation gives " + std::to_string(result);
  }
  int result = 0;
  const bool holds = note_table::Read(database, result) == note_table::After(step, content);
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
    for (const PowerLoss& loss : PlainLosses(m_disk, changes)) {
      Lose(loss);
    }
    if (inAllWays) {
      for (const PowerLoss& loss : LossesOfEachChange(m_disk, changes)) {
        Lose(loss);
      }
    }
    for (int count = test_numbers::Scaled(inAllWays ? 8 : 1); count > 0; --count) {
      Lose(RandomLoss(m_disk, changes, m_random));
    }
  }
}

void PowerLossSurvey::Lose(const PowerLoss& loss) {
  ++m_result.losses;
  // What its own operation has deleted may be back without harm.
  const bool journalIsBack = !m_hasDeleted && m_disk.RestoresFile(loss.directoryChanges);
  const auto [image, isNew] = m_seen.emplace(journalIsBack, m_disk.After(loss));
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
  if (const std::string integrity = IntegrityOf(m_database.Path()); integrity != "ok") {
    complaint = integrity;
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
