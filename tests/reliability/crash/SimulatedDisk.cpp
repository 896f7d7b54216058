#include "SimulatedDisk.h"

#include <algorithm>

namespace {

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
    case DiskEvent::Kind::kTruncate:
      Named(event.file).pending.push_back(event);
      break;
    case DiskEvent::Kind::kSync: {
      File& file = Named(event.file);
      file.durable = Write(file, Whole, Growth::kNothing);
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

std::size_t SimulatedDisk::Pending(std::size_t directoryChanges) const {
  std::size_t count = 0;
  for (const auto& [name, number] : DirectoryAfter(directoryChanges)) {
    count += m_files[number].pending.size();
  }
  return count;
}

Image SimulatedDisk::Now() const { return After(m_pending.size(), Whole, Growth::kNothing); }

Image SimulatedDisk::After(std::size_t directoryChanges, const Fate& fate, Growth growth) const {
  Image image;
  for (const auto& [name, number] : DirectoryAfter(directoryChanges)) {
    image[name] = Write(m_files[number], fate, growth);
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

std::string SimulatedDisk::Write(const File& file, const Fate& fate, Growth growth) {
  const char filling = growth == Growth::kGarbage ? '\xA5' : '\0';
  std::string content = file.durable;
  std::size_t sizeWhenWhole = content.size();
  for (const DiskEvent& change : file.pending) {
    const bool truncates = change.kind == DiskEvent::Kind::kTruncate;
    for (const Extent& extent : fate(change)) {
      if (truncates) {
        content.resize(change.offset, filling);
      } else {
        Put(content, change.offset + extent.begin,
            change.data.substr(extent.begin, extent.end - extent.begin), filling);
      }
    }
    sizeWhenWhole =
        truncates ? change.offset : std::max(sizeWhenWhole, change.offset + change.data.size());
  }
  if (growth != Growth::kNothing && content.size() < sizeWhenWhole) {
    content.resize(sizeWhenWhole, filling);
  }
  return content;
}
