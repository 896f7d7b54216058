#include "SqlGenerator.h"

#include <initializer_list>
#include <string_view>
#include <utility>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

// Keeps the text before the last occurrence of `separator`, if there is one.
void CutAtLast(std::string& text, const char* separator) {
  const std::size_t position = text.rfind(separator);
  if (position != std::string::npos) {
    text.erase(position);
  }
}

// Appends without a string in between for each piece.
void Append(std::string& sql, std::initializer_list<std::string_view> pieces) {
  for (const std::string_view piece : pieces) {
    sql += piece;
  }
}

// A name reaches the statement as a string built from the caller's pointer, so
// that a null one throws instead of being read.
std::string NameText(const char* name) { return std::string(name); }

// Values end at their first NUL, where SQLite would take the statement to end.
void AppendLiteral(std::string& sql, const std::string& value) {
  sql += '\'';
  sql += value.c_str();  // NOLINT(readability-redundant-string-cstr): it cuts at the NUL
  sql += '\'';
}

// Every condition leaves a separator behind, so the cut ends the statement with
// the last value. Without conditions it may find an " AND" elsewhere; an update
// is cut there all the same.
void AppendWhere(std::string& sql, const BaseSet::ColumnMap& where) {
  sql += " WHERE ";
  for (const auto& [column, value] : where) {
    sql += NameText(column);
    sql += '=';
    AppendLiteral(sql, value);
    sql += " AND ";
  }
  CutAtLast(sql, " AND");
}

void AppendWhereIfAny(std::string& sql, BaseSet& request) {
  BaseSet::ColumnMap where;
  request.GetWhereMap(where);
  if (!where.empty()) {
    AppendWhere(sql, where);
  }
}

// A key counts only with both its name and its type.
struct Key {
  std::string name;
  std::string type;
  bool IsGiven() const { return !name.empty() && !type.empty(); }
};

}  // namespace

SqlGenerator::SqlGenerator() = default;

SqlGenerator::~SqlGenerator() = default;

void SqlGenerator::GetDBPath(std::string dir, std::string file, std::string& path) {
  // An empty directory leaves the path relative.
  if (!dir.empty() && dir.back() != '/') {
    dir += '/';
  }
  dir += file;
  path = std::move(dir);
}

void SqlGenerator::GetCheckTableSql(std::string table, std::string& sql) {
  sql = "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='" + table + "'";
}

void SqlGenerator::GetCreateTableSql(CreateRequest& request, std::string& sql) {
  std::string table;
  Key primary;
  Key composite;
  CreateRequest::ColumnKeys columns;
  request.GetTable(table);
  request.GetPrimaryKey(primary.name, primary.type);
  request.GetCompositeKey(composite.name, composite.type);
  request.GetColumnKey(columns);
  const bool isComposite = primary.IsGiven() && composite.IsGiven();

  std::string text = "CREATE TABLE IF NOT EXISTS ";
  Append(text, {table, " ("});
  if (isComposite) {
    Append(text,
           {primary.name, " ", primary.type, ", ", composite.name, " ", composite.type, ", "});
  } else if (primary.IsGiven()) {
    Append(text, {primary.name, " ", primary.type, " NOT NULL PRIMARY KEY, "});
  } else {
    text += "_ID INTEGER PRIMARY KEY, ";
  }
  for (const auto& [name, type] : columns) {
    Append(text, {NameText(name), " ", type, ", "});
  }
  if (isComposite) {
    Append(text, {"PRIMARY KEY(", primary.name, ", ", composite.name, "), "});
  }
  CutAtLast(text, ", ");
  text += ')';
  sql = std::move(text);
}

void SqlGenerator::GetDropTableSql(DropRequest& request, std::string& sql) {
  std::string table;
  request.GetTable(table);
  sql = "DROP TABLE " + table;
}

void SqlGenerator::GetSelectSql(SelectRequest& request, std::string& sql) {
  std::string table;
  request.GetTable(table);

  std::string text = "SELECT * FROM " + table;
  AppendWhereIfAny(text, request);
  sql = std::move(text);
}

void SqlGenerator::GetJoinSql(JoinRequest& request, std::string& sql) {
  std::string leftTable;
  std::string leftColumn;
  std::string rightTable;
  std::string rightColumn;
  request.GetLeftJoin(leftTable, leftColumn);
  request.GetRightJoin(rightTable, rightColumn);

  std::string text = "SELECT  * FROM ";
  Append(text, {leftTable, " INNER JOIN ", rightTable, " ON ", leftTable, ".", leftColumn, " = ",
                rightTable, ".", rightColumn});
  AppendWhereIfAny(text, request);
  sql = std::move(text);
}

void SqlGenerator::GetUpsertSql(UpsertRequest& request, std::string& sql) {
  std::string table;
  BaseSet::ColumnMap data;
  request.GetTable(table);
  request.GetDataMap(data);

  std::string names = " (";
  std::string values = "VALUES (";
  for (const auto& [column, value] : data) {
    names += NameText(column);
    names += ", ";
    AppendLiteral(values, value);
    values += ", ";
  }
  CutAtLast(names, ", ");
  CutAtLast(values, ", ");
  std::string text = "INSERT OR REPLACE INTO ";
  Append(text, {table, names, ") ", values, ")"});
  sql = std::move(text);
}

void SqlGenerator::GetUpdateSql(UpdateRequest& request, std::string& sql) {
  std::string table;
  BaseSet::ColumnMap data;
  BaseSet::ColumnMap where;
  request.GetTable(table);
  request.GetDataMap(data);
  request.GetWhereMap(where);

  std::string text = "UPDATE " + table + " SET ";
  for (const auto& [column, value] : data) {
    text += NameText(column);
    text += " = ";
    AppendLiteral(text, value);
    text += ", ";
  }
  CutAtLast(text, ", ");
  AppendWhere(text, where);
  sql = std::move(text);
}

void SqlGenerator::GetDeleteSql(DeleteRequest& request, std::string& sql) {
  std::string table;
  request.GetTable(table);

  std::string text = "DELETE  FROM " + table;
  AppendWhereIfAny(text, request);
  sql = std::move(text);
}
