// The text fields of the request classes: private copies in `char*` members,
// null until set. The members' types are part of the binary interface, so the
// copies cannot be std::string.

#ifndef VORNDATABASE_SRC_BASE_OWNEDTEXT_H
#define VORNDATABASE_SRC_BASE_OWNEDTEXT_H

#include <cstring>
#include <string>

namespace vorn {

// Stores a copy of `text`; null leaves the field as it is. An earlier copy is
// abandoned, not released; that is a documented part of the contract.
inline void StoreText(char*& field, const char* text) {
  if (text == nullptr) {
    return;
  }
  const std::size_t size = std::strlen(text) + 1;
  char* const copy = new char[size];
  std::memcpy(copy, text, size);
  field = copy;
}

// Assigns the text to `output`; an unset field leaves it as it was.
inline void LoadText(const char* field, std::string& output) {
  if (field != nullptr) {
    output = field;
  }
}

// Assigns both texts to the outputs, or neither when one of them is unset.
inline void LoadTexts(const char* firstField, const char* secondField, std::string& first,
                      std::string& second) {
  if (firstField != nullptr && secondField != nullptr) {
    first = firstField;
    second = secondField;
  }
}

inline void ReleaseText(char*& field) {
  delete[] field;
  field = nullptr;
}

}  // namespace vorn

#endif  // VORNDATABASE_SRC_BASE_OWNEDTEXT_H
