// Names and telephone numbers in a database file.

#ifndef CONTACTS_CONTACTBOOK_H
#define CONTACTS_CONTACTBOOK_H

#include <string>
#include <vector>

#include "Database.h"

struct Contact {
  std::string name;
  std::string phone;
};

// Every member throws std::runtime_error when the library reports a failure.
class ContactBook {
 public:
  // Opens or makes the file contacts.db in a directory that exists.
  explicit ContactBook(std::string directory);

  // Adds a contact, or gives the one with this name another number.
  void Write(const Contact& contact);

  void Remove(const std::string& name);

  std::vector<Contact> List();

 private:
  std::string m_directory;
  Database m_database;
};

#endif  // CONTACTS_CONTACTBOOK_H
