#include "NoteTable.h"

#include "Operations.h"

namespace note_table {

int Run(const Step& step, const TemporaryDatabase& file, Database& database) {
  operations::Texts texts = {{"table", kTable}, {"key", kUid},       {"keyType", "TEXT"},
                             {"column", kText}, {"type", "TEXT"},    {"value", step.text},
                             {"column2", kUid}, {"value2", step.uid}};
  if (!step.uid.empty()) {
    texts = texts.With("whereColumn", kUid).With("whereValue", step.uid);
  }
  return operations::Run(step.member, database, file, texts);
}

Content After(const Step& step, const Content& content) {
  if (step.member == "DropTable") {
    return std::nullopt;
  }
  Rows rows = content.value_or(Rows{});
  if (step.member == "Upsert" || (step.member == "Update" && rows.count(step.uid) != 0)) {
    rows[step.uid] = step.text;
  } else if (step.member == "Delete" && step.uid.empty()) {
    rows.clear();
  } else if (step.member == "Delete") {
    rows.erase(step.uid);
  }
  return rows;
}

Content Read(const TemporaryDatabase& file, int& result) {
  Database database;
  operations::Call check(operations::Get("CheckExistTable"), file, {{"table", kTable}});
  result = check.Run(database);
  if (result != 0 || !check.exists) {
    return std::nullopt;
  }
  operations::Call select(operations::Get("Select"), file, {{"table", kTable}});
  result = select.Run(database);
  return RowsOf(select.cursor);
}

Rows RowsOf(Cursor& cursor) {
  Rows rows;
  std::string uid;
  std::string text;
  while (cursor.MoveToNext() == 0) {
    cursor.GetString(kUid, uid);
    cursor.GetString(kText, text);
    rows.emplace(uid, text);
  }
  return rows;
}

std::string TextOf(int version, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    text += std::to_string(version) + ",";
  }
  return text;
}

}  // namespace note_table
