#include "OutputFile.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "Errors.h"

namespace vorndb {

OutputFile::OutputFile(const std::string& path, bool overwrite)
    : m_path(path), m_part(path + "." + std::to_string(getpid()) + ".part") {
  std::error_code ignored;
  if (!overwrite && std::filesystem::exists(path, ignored)) {
    throw Failure(path + " exists; to write over it, give --force");
  }
  if (std::filesystem::is_directory(path, ignored)) {
    throw Failure(path + " is a folder");
  }
  m_stream.open(m_part, std::ios::binary);
  if (!m_stream) {
    throw Failure("cannot write " + path);
  }
}

OutputFile::~OutputFile() {
  if (!m_part.empty()) {
    static_cast<void>(std::remove(m_part.c_str()));
  }
}

void OutputFile::Keep() {
  m_stream.close();
  std::error_code problem;
  if (m_stream) {
    std::filesystem::rename(m_part, m_path, problem);
  }
  if (!m_stream || problem) {
    throw Failure("cannot write " + m_path);
  }
  m_part.clear();
}

}  // namespace vorndb
