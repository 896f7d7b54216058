// A directory of files on a disk that keeps for certain only what was synced.

#ifndef VORN_TESTS_CRASH_SIMULATEDDISK_H
#define VORN_TESTS_CRASH_SIMULATEDDISK_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

// What a program does to the files of the directory, and when it has told its user
// that an operation is done.
struct DiskEvent {
  enum class Kind { kCreate, kWrite, kTruncate, kSync, kDelete, kSyncDirectory, kAcknowledge };

  Kind kind = Kind::kAcknowledge;
  std::string file;
  std::size_t offset = 0;  // of a write; the size to truncate to
  std::string data;        // that is written
};

// The files by name, with all that is in them.
using Image = std::map<std::string, std::string>;

// Bytes of a write, counted from its first.
struct Extent {
  std::size_t begin;
  std::size_t end;
};

// What becomes of the changes that are pending when the power goes.
struct PowerLoss {
  // What a file grows by, where nothing of the writes behind its old end arrives.
  enum class Growth { kNothing, kZeros, kGarbage };

  // The first so many changes of the directory arrive; it never shows a later one
  // without those before it.
  std::size_t directoryChanges;
  // For each change in SimulatedDisk::Pending, what of it arrives: in any order,
  // whole, in parts or not at all.
  std::vector<std::vector<Extent>> arrivals;
  Growth growth;
};

class SimulatedDisk {
 public:
  // All of these files are durable.
  explicit SimulatedDisk(const Image& files);

  void Apply(const DiskEvent& event);

  // How many changes of the directory no sync of it has followed.
  std::size_t PendingInDirectory() const { return m_pending.size(); }
  // Whether a file is back when only the first so many of them arrive.
  bool RestoresFile(std::size_t directoryChanges) const;

  // Where in its file a change is made; a truncation counts as a write of one byte.
  struct Span {
    std::size_t offset;
    std::size_t size;
  };
  // The changes of files that no sync of theirs has followed, file by file, of those
  // files that are there when the first changes of the directory arrive.
  std::vector<Span> Pending(std::size_t directoryChanges) const;

  // What a program finds.
  Image Now() const;
  // What is found when the power is back.
  Image After(const PowerLoss& loss) const;

 private:
  struct Change {
    bool truncates;
    std::size_t offset;
    std::string data;
  };
  struct File {
    std::string durable;
    std::vector<Change> pending;
  };
  using FileNumber = std::size_t;  // in m_files, where deleted ones stay
  using Directory = std::map<std::string, FileNumber>;
  struct DirectoryChange {
    std::string name;
    std::optional<FileNumber> file;  // none: the name is deleted
  };

  Directory DirectoryAfter(std::size_t changes) const;
  File& Named(const std::string& name);
  static std::string Write(const File& file, const std::vector<Extent>* arrivals,
                           PowerLoss::Growth growth);

  std::vector<File> m_files;
  Directory m_directory;  // that is durable
  std::vector<DirectoryChange> m_pending;
};

#endif  // VORN_TESTS_CRASH_SIMULATEDDISK_H
