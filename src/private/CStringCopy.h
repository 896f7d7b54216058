// C-string copies: private copies of strings in `char*` members, null until set. The types of the
// members are part of the ABI, so the copies cannot be std::string.

#ifndef VORNDATABASE_SRC_PRIVATE_CSTRINGCOPY_H
#define VORNDATABASE_SRC_PRIVATE_CSTRINGCOPY_H

#include <string>

namespace vorn {

// Stores a copy of `text`; null leaves the field as it is. An earlier copy leaks, which is
// documented.
void StoreCopy(char*& field, const char* text);

// Assigns the copy to `output`; an unset field leaves it as it was.
void LoadCopy(const char* field, std::string& output);

// Assigns both copies to the outputs, or neither if one of them is unset.
void LoadCopies(const char* firstField, const char* secondField, std::string& first,
                std::string& second);

void ReleaseCopy(char*& field);

}  // namespace vorn

#endif  // VORNDATABASE_SRC_PRIVATE_CSTRINGCOPY_H
