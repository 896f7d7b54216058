// The text fields of the request classes: private copies in `char*` members,
// null until set. The members' types are part of the binary interface, so the
// copies cannot be std::string.

#ifndef VORNDATABASE_SRC_PRIVATE_CSTRINGCOPY_H
#define VORNDATABASE_SRC_PRIVATE_CSTRINGCOPY_H

#include <string>

namespace vorn {

// Stores a copy of `text`; null leaves the field as it is. An earlier copy is
// abandoned, not released; that is a documented part of the contract.
void StoreCopy(char*& field, const char* text);

// Assigns the text to `output`; an unset field leaves it as it was.
void LoadCopy(const char* field, std::string& output);

// Assigns both texts to the outputs, or neither when one of them is unset.
void LoadCopies(const char* firstField, const char* secondField, std::string& first,
                std::string& second);

void ReleaseCopy(char*& field);

}  // namespace vorn

#endif  // VORNDATABASE_SRC_PRIVATE_CSTRINGCOPY_H
