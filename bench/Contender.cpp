#include "Contender.h"

namespace bench {

namespace {

std::string Quoted(const std::string& text) { return '\'' + text + '\''; }

std::string WhereUid(const char* uid) { return " WHERE uid=" + Quoted(uid); }

}  // namespace

void SqlContender::CreateContact(const Place& place) {
  Execute(place.Path(),
          "CREATE TABLE IF NOT EXISTS contact (uid INTEGER NOT NULL PRIMARY KEY, name TEXT, "
          "phone TEXT, mail TEXT, age INTEGER)");
}

void SqlContender::DropContact(const Place& place) { Execute(place.Path(), "DROP TABLE contact"); }

void SqlContender::UpsertContact(const Place& place, const Contact& contact) {
  std::string sql = "INSERT OR REPLACE INTO contact (uid, name, phone, mail, age) VALUES (";
  sql += Quoted(contact.uid);
  sql += ", ";
  sql += Quoted(contact.name);
  sql += ", ";
  sql += Quoted(contact.phone);
  sql += ", ";
  sql += Quoted(contact.mail);
  sql += ", ";
  sql += Quoted(contact.age);
  sql += ')';
  Execute(place.Path(), sql);
}

void SqlContender::UpdateName(const Place& place, const char* uid, const char* name) {
  Execute(place.Path(), "UPDATE contact SET name = " + Quoted(name) + WhereUid(uid));
}

void SqlContender::DeleteContact(const Place& place, const char* uid) {
  Execute(place.Path(), "DELETE FROM contact" + WhereUid(uid));
}

bool SqlContender::HasTable(const Place& place, const char* table) {
  return QueryNumber(
             place.Path(),
             "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME=" + Quoted(table)) > 0;
}

void SqlContender::SelectContact(const Place& place, const char* uid) {
  Query(place.Path(), "SELECT * FROM contact" + WhereUid(uid));
}

void SqlContender::JoinNotes(const Place& place, const char* uid) {
  Query(place.Path(),
        "SELECT * FROM contact INNER JOIN note ON contact.uid = note.owner" + WhereUid(uid));
}

void SqlContender::SelectAll(const Place& place, const char* table) {
  Query(place.Path(), std::string("SELECT * FROM ") + table);
}

std::vector<std::vector<std::string>*> ColumnsContender::Declare(
    const std::vector<std::string>& names) {
  Release();
  std::vector<std::vector<std::string>*> columns;
  columns.reserve(names.size());
  for (const std::string& name : names) {
    columns.push_back(&m_columns[name]);
  }
  return columns;
}

}  // namespace bench
