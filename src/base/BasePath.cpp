#include "BasePath.h"

#include "private/OwnedText.h"

BasePath::BasePath() = default;

BasePath::~BasePath() {
  vorn::ReleaseText(m_directory);
  vorn::ReleaseText(m_fileName);
}

void BasePath::SetPath(const char* directory, const char* fileName) {
  vorn::StoreText(m_directory, directory);
  vorn::StoreText(m_fileName, fileName);
}

void BasePath::GetPath(std::string& directory, std::string& fileName) {
  // Built as strings on purpose: a part that was never set throws here.
  directory = std::string(m_directory);
  fileName = std::string(m_fileName);
}
