// Files that are read or written at one go. What fails throws, and names the file.

#ifndef VORN_TESTS_SUPPORT_WHOLEFILE_H
#define VORN_TESTS_SUPPORT_WHOLEFILE_H

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

inline std::string ReadWholeFile(const std::string& path) {
  std::string content(static_cast<std::size_t>(std::filesystem::file_size(path)), '\0');
  std::ifstream file(path, std::ios::binary);
  if (!file.read(content.data(), static_cast<std::streamsize>(content.size()))) {
    throw std::runtime_error("cannot read " + path);
  }
  return content;
}

// Replaces what is there.
inline void WriteWholeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  if (!file) {
    throw std::runtime_error("cannot write " + path);
  }
}

#endif  // VORN_TESTS_SUPPORT_WHOLEFILE_H
