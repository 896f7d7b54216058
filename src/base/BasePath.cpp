#include "BasePath.h"

#include "private/CStringCopy.h"

BasePath::BasePath() = default;

BasePath::~BasePath() {
  vorn::ReleaseCopy(m_directory);
  vorn::ReleaseCopy(m_fileName);
}

void BasePath::SetPath(const char* directory, const char* fileName) {
  vorn::StoreCopy(m_directory, directory);
  vorn::StoreCopy(m_fileName, fileName);
}

void BasePath::GetPath(std::string& directory, std::string& fileName) {
  // Built as strings on purpose: a part that was never set throws here.
  directory = std::string(m_directory);
  fileName = std::string(m_fileName);
}
