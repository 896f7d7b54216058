#include "PowerLossSurvey.h"

#include <filesystem>

#include "ShimVfs.h"
#include "TestScale.h"
#include "TestSeed.h"
#include "WholeFile.h"

namespace {

using note_table::Content;
using note_table::Step;

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
      m_random(test_seed::Seed()) {}

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
    for (const PowerLoss& loss : power_loss::Plain(m_disk, changes)) {
      Lose(loss);
    }
    if (inAllWays) {
      for (const PowerLoss& loss : power_loss::OfEachChange(m_disk, changes)) {
        Lose(loss);
      }
    }
    for (int count = test_scale::Scaled(inAllWays ? 8 : 1); count > 0; --count) {
      Lose(power_loss::Random(m_disk, changes, m_random));
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
        ", seed " + std::to_string(test_seed::Seed()) + ": " + complaint;
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
