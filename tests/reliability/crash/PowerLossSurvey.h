// Takes the power away at every point of a recorded history, in many ways, and looks
// at what the library then finds.

#ifndef VORN_TESTS_RELIABILITY_CRASH_POWERLOSSSURVEY_H
#define VORN_TESTS_RELIABILITY_CRASH_POWERLOSSSURVEY_H

#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "NoteTable.h"
#include "SimulatedDisk.h"
#include "TemporaryDatabase.h"

// What was done to the files of a database.
struct History {
  Image before;
  std::vector<DiskEvent> events;
  // What the table holds when so many operations have been acknowledged.
  std::vector<note_table::Content> contents;
};

Image ReadFiles(const TemporaryDatabase& database);
// Leaves no other files there.
void WriteFiles(const Image& image, const TemporaryDatabase& database);

// When what is created and deleted is so for certain: when it is done, or when the
// directory has been synced.
enum class DirectoryChanges { kDurableAtOnce, kDurableWhenSynced };

// Checks after each loss that the file is sound, that it holds what the acknowledged
// operations have left, with the one that was running either done or not begun, and
// that it can be changed again. Only where a loss brings the deleted journal back may
// the last acknowledged change be undone, too.
class PowerLossSurvey {
 public:
  struct Result {
    int losses = 0;
    int boundaries = 0;  // between events, where power was lost
    int images = 0;      // that differ, of those that the losses left
    int repairs = 0;     // of images, which the library's first query has made
    int undone = 0;      // images without the last acknowledged change
    int damages = 0;     // images that fail the checks
    std::string firstDamage;
  };

  PowerLossSurvey(const History& history, DirectoryChanges directory);
  Result Run();

 private:
  void LosePower(bool inAllWays);
  void LoseEach(std::size_t directoryChanges);
  void Lose(std::size_t directoryChanges, const SimulatedDisk::Fate& fate, Growth growth);
  void Examine(const Image& image, bool journalIsBack);
  std::string Judge(const note_table::Content& found, bool journalIsBack);
  void Proceed(const DiskEvent& event);

  const History& m_history;
  const DirectoryChanges m_directory;
  const TemporaryDatabase m_database;  // one for all images: new directories cost time
  SimulatedDisk m_disk;
  std::mt19937 m_random;
  std::set<std::pair<bool, Image>> m_seen;  // since the last acknowledgement
  std::size_t m_acknowledged = 0;
  bool m_isRunning = false;   // the next operation
  bool m_hasDeleted = false;  // the next operation, its journal
  Result m_result;
};

#endif  // VORN_TESTS_RELIABILITY_CRASH_POWERLOSSSURVEY_H
