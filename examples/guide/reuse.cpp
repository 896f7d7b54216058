// Makes a mistake: one request for two rows.

#include <exception>
#include <iostream>

#include "CreateRequest.h"
#include "Database.h"
#include "UpsertRequest.h"

namespace {

constexpr char kName[] = "name";

template <typename Request>
void Address(Request& request) {
  request.SetPath(".", "reuse.db");
  request.SetTable("contact");
}

}  // namespace

int main() try {
  CreateRequest create;
  Address(create);
  create.SetColumnKey(kName, "TEXT");
  std::cout << "create: result " << Database().CreateTable(create) << '\n';

  UpsertRequest upsert;
  Address(upsert);
  for (const char* const name : {"Kim", "Miles"}) {
    upsert.SetData(kName, name);
    std::cout << "write " << name << ": result " << Database().Upsert(upsert) << '\n';
  }
  return 0;
} catch (const std::exception& error) {
  std::cerr << "reuse: " << error.what() << '\n';
  return 1;
}
