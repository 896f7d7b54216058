// The log records of an operation of the catalogue, as fake::Lines gives them.

#ifndef VORN_TESTS_SUPPORT_OPERATIONLINES_H
#define VORN_TESTS_SUPPORT_OPERATIONLINES_H

#include <string>
#include <vector>

#include "FakePlatform.h"
#include "Operations.h"

namespace operations {

inline const std::string kFile = "Database.cpp";
inline const std::string kParserFile = "DatabasePasrser.cpp";

// Up to the opening of the file, which comes first.
inline Strings OpeningLines(const Operation& operation, const std::string& directory,
                            const std::string& fileName) {
  return {fake::Trace(kFile, operation.member), fake::Trace(kFile, "OpenDB"),
          fake::Line(6, kFile, "OpenDB", "DB file: " + directory + " " + fileName)};
}

// Of the request, which is read after the opening.
inline Strings GetterLines(const Operation& operation) {
  Strings lines;
  for (const std::string& getter : operation.getters) {
    lines.push_back(fake::Trace(operation.request.name + ".cpp", getter));
  }
  return lines;
}

// None of a query.
inline Strings SuccessLines(const Operation& operation) {
  return operation.IsWrite() ? Strings{fake::Line(4, kFile, operation.member, operation.Success())}
                             : Strings{};
}

inline std::string FailureLine(const Operation& operation, int code, const std::string& text) {
  return fake::Line(6, kFile, operation.member, operation.Failure(code, text));
}

// That of the opening, and for some operations one of their own.
inline Strings OpenFailureLines(const Operation& operation, int code, const std::string& text) {
  Strings lines = {fake::Line(6, kFile, "OpenDB",
                              "DB open failed. Error no(" + std::to_string(code) + "): " + text)};
  if (!operation.openFailure.empty()) {
    lines.push_back(fake::Line(4, kFile, operation.member, operation.OpenFailure(code)));
  }
  return lines;
}

}  // namespace operations

#endif  // VORN_TESTS_SUPPORT_OPERATIONLINES_H
