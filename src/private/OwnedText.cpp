#include "private/OwnedText.h"

#include <cstring>

namespace vorn {

void StoreText(char*& field, const char* text) {
  if (text == nullptr) {
    return;
  }
  const std::size_t size = std::strlen(text) + 1;
  char* const copy = new char[size];
  std::memcpy(copy, text, size);
  field = copy;
}

void LoadText(const char* field, std::string& output) {
  if (field != nullptr) {
    output = field;
  }
}

void LoadTexts(const char* firstField, const char* secondField, std::string& first,
               std::string& second) {
  if (firstField != nullptr && secondField != nullptr) {
    first = firstField;
    second = secondField;
  }
}

void ReleaseText(char*& field) {
  delete[] field;
  field = nullptr;
}

}  // namespace vorn
