// The fixture of tests that write and read one value of contact.uid.

#ifndef VORN_TESTS_HOSTILE_CONTACTTEST_H
#define VORN_TESTS_HOSTILE_CONTACTTEST_H

#include <string>

#include "HostileTest.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

class ContactTest : public HostileTest {
 protected:
  static constexpr const char* kUid = "uid";

  Verdict Upsert(const std::string& value) {
    UpsertRequest request;
    Address(request, "contact");
    request.SetData(kUid, value.c_str());
    return ExpectVerdict(kUpsert, "INSERT OR REPLACE INTO contact (uid) VALUES ('" + value + "')",
                         [&] { return database.Upsert(request); });
  }
  Verdict Select(const std::string& value) {
    SelectRequest request;
    Address(request, "contact");
    request.SetWhere(kUid, value.c_str());
    return ExpectVerdict(kSelect, "SELECT * FROM contact WHERE uid='" + value + "'",
                         [&] { return database.Select(request, cursor); });
  }
};

#endif  // VORN_TESTS_HOSTILE_CONTACTTEST_H
