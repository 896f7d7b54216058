// Notes what SQLite does to the files of a database.
//
// In a program with this in it, no sync reaches the real disk.

#ifndef VORN_TESTS_CRASH_DISKRECORDER_H
#define VORN_TESTS_CRASH_DISKRECORDER_H

#include <vector>

#include "ShimVfs.h"
#include "SimulatedDisk.h"
#include "TemporaryDatabase.h"

// Records while it lives. One at a time.
class DiskRecorder {
 public:
  explicit DiskRecorder(const TemporaryDatabase& database);
  ~DiskRecorder();
  DiskRecorder(const DiskRecorder&) = delete;
  DiskRecorder& operator=(const DiskRecorder&) = delete;

  // An operation has returned its success.
  void Acknowledge() { m_events.emplace_back(); }

  const std::vector<DiskEvent>& Events() const { return m_events; }

 private:
  void Note(const FileEvent& event);

  const std::string m_fileName;
  std::vector<DiskEvent> m_events;
  ShimVfs m_shim;
};

#endif  // VORN_TESTS_CRASH_DISKRECORDER_H
