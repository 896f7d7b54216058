// A directory of files on a disk that keeps for certain only what was synced.

#ifndef VORN_TESTS_RELIABILITY_CRASH_SIMULATEDDISK_H
#define VORN_TESTS_RELIABILITY_CRASH_SIMULATEDDISK_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// A change that a program makes to the files of the directory, or the end of its operation.
struct DiskEvent {
  enum class Kind { kCreate, kWrite, kTruncate, kSync, kDelete, kSyncDirectory, kAcknowledge };

  Kind kind = Kind::kAcknowledge;
  std::string file = {};
  std::size_t offset = 0;  // of a write; the size to truncate to
  std::string data = {};   // that is written; a truncation counts as a write of one byte
};

// The files by name, with all that is in them.
using Image = std::map<std::string, std::string>;

// Bytes of a write, counted from its first.
struct Extent {
  std::size_t begin;
  std::size_t end;
};

// What a file grows by, where nothing of the writes behind its old end arrives.
enum class Growth { kNothing, kZeros, kGarbage };

class SimulatedDisk {
 public:
  // The parts of a change that arrive: all, some or none.
  using Arrival = std::vector<Extent>;
  using Fate = std::function<Arrival(const DiskEvent& change)>;

  // The fate of a change that arrives as it is.
  static Arrival Whole(const DiskEvent& change) { return {{0, change.data.size()}}; }

  // All of these files are durable.
  explicit SimulatedDisk(const Image& files);

  void Apply(const DiskEvent& event);

  // How many changes of the directory no sync of it has followed.
  std::size_t PendingInDirectory() const { return m_pending.size(); }
  // Whether a file is back when only the first so many of them arrive.
  bool RestoresFile(std::size_t directoryChanges) const;

  // How many changes of files no sync of theirs has followed, in those files that are there
  // when the first so many changes of the directory arrive.
  std::size_t Pending(std::size_t directoryChanges) const;

  // The files as a program finds them.
  Image Now() const;
  // The files after a loss of power. The first so many changes of the directory arrive; it
  // never shows a later one without those before it. The fate is asked for each pending
  // change, file by file.
  Image After(std::size_t directoryChanges, const Fate& fate, Growth growth) const;

 private:
  struct File {
    std::string durable;
    std::vector<DiskEvent> pending;
  };
  using FileNumber = std::size_t;  // in m_files, where deleted ones stay
  using Directory = std::map<std::string, FileNumber>;
  struct DirectoryChange {
    std::string name;
    std::optional<FileNumber> file;  // none: the name is deleted
  };

  Directory DirectoryAfter(std::size_t changes) const;
  File& Named(const std::string& name);
  static std::string Write(const File& file, const Fate& fate, Growth growth);

  std::vector<File> m_files;
  Directory m_directory;  // that is durable
  std::vector<DirectoryChange> m_pending;
};

#endif  // VORN_TESTS_RELIABILITY_CRASH_SIMULATEDDISK_H
