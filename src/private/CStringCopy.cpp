#include "private/CStringCopy.h"

#include <cstring>

namespace vorn {

void StoreCopy(char*& field, const char* text) {
  if (text == nullptr) {
    return;
  }
  const std::size_t size = std::strlen(text) + 1;
  char* const copy = new char[size];
  std::memcpy(copy, text, size);
  field = copy;
}

void LoadCopy(const char* field, std::string& output) {
  if (field != nullptr) {
    output = field;
  }
}

void LoadCopies(const char* firstField, const char* secondField, std::string& first,
                std::string& second) {
  if (firstField != nullptr && secondField != nullptr) {
    first = firstField;
    second = secondField;
  }
}

void ReleaseCopy(char*& field) {
  delete[] field;
  field = nullptr;
}

}  // namespace vorn
