#include "SimulatedDisk.h"

#include <algorithm>

namespace {

std::vector<Extent> Whole(const std::string& data) { return {{0, data.size()}}; }

// As a file system does, a write behind the end fills what is between.
void Put(std::string& content, std::size_t offset, const std::string& data, char filling) {
  if (content.size() < offset + data.size()) {
    content.resize(offset + data.size(), filling);
  }
  content.replace(offset, data.size(), data);
}

}  // namespace

SimulatedDisk::SimulatedDisk(const Image& files) {
  for (const auto& [name, content] : files) {
    m_directory[name] = m_files.size();
    m_files.push_back({content, {}});
  }
}

void SimulatedDisk::Apply(const DiskEvent& event) {
  switch (event.kind) {
    case DiskEvent::Kind::kCreate:
      m_pending.push_back({event.file, m_files.size()});
      m_files.emplace_back();
      break;
    case DiskEvent::Kind::kDelete:
      m_pending.push_back({event.file, std::nullopt});
      break;
    case DiskEvent::Kind::kSyncDirectory:
      m_directory = DirectoryAfter(m_pending.size());
      m_pending.clear();
      break;
    case DiskEvent::Kind::kWrite:
      Named(event.file).pending.push_back({false, event.offset, event.data});
      break;
    case DiskEvent::Kind::kTruncate:
      Named(event.file).pending.push_back({true, event.offset, "t"});
      break;
    case DiskEvent::Kind::kSync: {
      File& file = Named(event.file);
      std::vector<std::vector<Extent>> all;
      for (const Change& change : file.pending) {
        all.push_back(Whole(change.data));
      }
      file.durable = Write(file, all.data(), PowerLoss::Growth::kNothing);
      file.pending.clear();
      break;
    }
    case DiskEvent::Kind::kAcknowledge:
      break;
  }
}

bool SimulatedDisk::RestoresFile(std::size_t directoryChanges) const {
  return std::any_of(m_pending.begin() + static_cast<std::ptrdiff_t>(directoryChanges),
                     m_pending.end(), [](const DirectoryChange& change) { return !change.file; });
}

std::vector<SimulatedDisk::Span> SimulatedDisk::Pending(std::size_t directoryChanges) const {
  std::vector<Span> spans;
  for (const auto& [name, number] : DirectoryAfter(directoryChanges)) {
    for (const Change& change : m_files[number].pending) {
      spans.push_back({change.offset, change.data.size()});
    }
  }
  return spans;
}

Image SimulatedDisk::Now() const {
  SimulatedDisk synced = *this;
  for (const auto& [name, number] : DirectoryAfter(m_pending.size())) {
    synced.Apply({DiskEvent::Kind::kSync, name, 0, ""});
  }
  synced.Apply({DiskEvent::Kind::kSyncDirectory, "", 0, ""});
  return synced.After({0, {}, PowerLoss::Growth::kNothing});
}

Image SimulatedDisk::After(const PowerLoss& loss) const {
  Image image;
  const std::vector<Extent>* arrivals = loss.arrivals.data();
  for (const auto& [name, number] : DirectoryAfter(loss.directoryChanges)) {
    const File& file = m_files[number];
    image[name] = Write(file, arrivals, loss.growth);
    arrivals += file.pending.size();
  }
  return image;
}

SimulatedDisk::Directory SimulatedDisk::DirectoryAfter(std::size_t changes) const {
  Directory directory = m_directory;
  for (std::size_t index = 0; index < changes; ++index) {
    const DirectoryChange& change = m_pending.at(index);
    directory.erase(change.name);
    if (change.file) {
      directory[change.name] = *change.file;
    }
  }
  return directory;
}

SimulatedDisk::File& SimulatedDisk::Named(const std::string& name) {
  return m_files[DirectoryAfter(m_pending.size()).at(name)];
}

// `arrivals` has as many elements as there are pending changes.
std::string SimulatedDisk::Write(const File& file, const std::vector<Extent>* arrivals,
                                 PowerLoss::Growth growth) {
  const char filling = growth == PowerLoss::Growth::kGarbage ? '\xA5' : '\0';
  std::string content = file.durable;
  std::size_t sizeWhenWhole = content.size();
  for (const Change& change : file.pending) {
    for (const Extent& extent : *arrivals) {
      if (change.truncates) {
        content.resize(change.offset, filling);
      } else {
        Put(content, change.offset + extent.begin,
            change.data.substr(extent.begin, extent.end - extent.begin), filling);
      }
    }
    sizeWhenWhole = change.truncates ? change.offset
                                     : std::max(sizeWhenWhole, change.offset + change.data.size());
    ++arrivals;
  }
  if (growth != PowerLoss::Growth::kNothing && content.size() < sizeWhenWhole) {
    content.resize(sizeWhenWhole, filling);
  }
  return content;
}
