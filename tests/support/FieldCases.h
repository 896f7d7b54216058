// The text fields of the request classes, one by one, for parametrised tests.

#ifndef VORN_TESTS_SUPPORT_FIELDCASES_H
#define VORN_TESTS_SUPPORT_FIELDCASES_H

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "Operations.h"

struct FieldCase {
  operations::RequestClass request;
  operations::TextField field;

  std::size_t Texts() const { return field.isPair ? 2 : 1; }
};

inline void PrintTo(const FieldCase& own, std::ostream* stream) {
  *stream << own.request.name << own.field.name;
}

inline std::string NameOf(const ::testing::TestParamInfo<FieldCase>& info) {
  return ::testing::PrintToString(info.param);
}

// Those for which `chooses` holds.
inline std::vector<FieldCase> FieldCases(const std::function<bool(const FieldCase&)>& chooses) {
  std::vector<FieldCase> cases;
  for (const operations::RequestClass& request : operations::RequestClasses()) {
    for (const operations::TextField& field : request.fields) {
      if (const FieldCase own{request, field}; chooses(own)) {
        cases.push_back(own);
      }
    }
  }
  return cases;
}

#endif  // VORN_TESTS_SUPPORT_FIELDCASES_H
