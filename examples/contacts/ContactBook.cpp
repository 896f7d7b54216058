#include "ContactBook.h"

#include <stdexcept>
#include <utility>

#include "CreateRequest.h"
#include "Cursor.h"
#include "DeleteRequest.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kFile[] = "contacts.db";
constexpr char kTable[] = "contact";

// The library keeps the pointer to a column's name, and tells columns apart by it. So
// each name is one array that lives as long as the program.
constexpr char kName[] = "name";
constexpr char kPhone[] = "phone";

// The library puts a value between single quotes as it is, so those inside are doubled.
std::string Quoted(const std::string& value) {
  std::string quoted;
  for (const char c : value) {
    quoted.append(c == '\'' ? 2 : 1, c);
  }
  return quoted;
}

// Results are SQLite's codes.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

template <typename Request>
void Address(Request& request, const std::string& directory) {
  request.SetPath(directory.c_str(), kFile);
  request.SetTable(kTable);
}

}  // namespace

ContactBook::ContactBook(std::string directory) : m_directory(std::move(directory)) {
  CreateRequest request;
  Address(request, m_directory);
  request.SetPrimaryKey(kName, "TEXT");
  request.SetColumnKey(kPhone, "TEXT NOT NULL");
  Check(m_database.CreateTable(request), "create the table");
}

void ContactBook::Write(const Contact& contact) {
  UpsertRequest request;
  Address(request, m_directory);
  request.SetData(kName, Quoted(contact.name).c_str());
  request.SetData(kPhone, Quoted(contact.phone).c_str());
  Check(m_database.Upsert(request), "write " + contact.name);
}

void ContactBook::Remove(const std::string& name) {
  DeleteRequest request;
  Address(request, m_directory);
  request.SetWhere(kName, Quoted(name).c_str());
  Check(m_database.Delete(request), "remove " + name);
}

std::vector<Contact> ContactBook::List() {
  SelectRequest request;
  Address(request, m_directory);
  Cursor cursor;
  Check(m_database.Select(request, cursor), "list the contacts");
  std::vector<Contact> contacts;
  Contact contact;
  while (cursor.MoveToNext() == 0) {
    Check(cursor.GetString(kName, contact.name), "read a name");
    Check(cursor.GetString(kPhone, contact.phone), "read a number");
    contacts.push_back(contact);
  }
  return contacts;
}
