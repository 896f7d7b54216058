// Places of files, and what is thrown.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "../safe.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "Edges.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpsertRequest.h"

namespace {

int CreateIn(const std::string& directory, const std::string& file) {
  CreateRequest create;
  create.SetPath(directory.c_str(), file.c_str());
  create.SetTable("contact");
  create.SetColumnKey(kName, "TEXT");
  return Database().CreateTable(create);
}

}  // namespace

//! [failed_open]
void FailedOpen() {
  for (const std::string directory : {".", "missing"}) {
    if (IsWritableDirectory(directory)) {
      std::cout << directory << ": result " << CreateIn(directory, kFile) << '\n';
    } else {
      std::cout << directory << ": not tried\n";  // it would be 14, and a handle would stay
    }
  }
}
//! [failed_open]

void Paths() {
  const char* const places[][2] = {
      {"/opt/data", "app.db"}, {"/opt/data/", "app.db"}, {"", "app.db"},
      {".", ":memory:"},       {"", ":memory:"},         {"", ""},
  };
  for (const auto& place : places) {
    std::string path;
    SqlGenerator().GetDBPath(place[0], place[1], path);
    std::cout << "'" << place[0] << "' and '" << place[1] << "': '" << path << "'\n";
  }
}

//! [exceptions]
void Exceptions() {
  Check(CreateIn(".", kFile), "create the table");
  UpsertRequest request;
  request.SetTable("contact");
  try {
    request.SetData(kName, static_cast<const char*>(nullptr));
  } catch (const std::logic_error&) {
    std::cout << "SetData: the request is as it was\n";
  }
  request.SetData(kName, "Ana");
  try {
    Database().Upsert(request);  // no SetPath
  } catch (const std::logic_error&) {
    std::cout << "Upsert: nothing is written\n";
  }
  request.SetPath(".", kFile);
  std::cout << "Upsert: result " << Database().Upsert(request) << '\n';
}
//! [exceptions]
