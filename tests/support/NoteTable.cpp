#include "NoteTable.h"

#include "Operations.h"

namespace note_table {

int Run(const Step& step, const TemporaryDatabase& file, Database& database) {
  operations::Texts texts = {{"table", kTable}};
  if (step.member == "CreateTable") {
    texts = texts.With("key", kUid).With("keyType", "TEXT").With("column", kText);
    texts = texts.With("type", "TEXT");
  } else if (step.member == "Upsert") {
    texts = texts.With("column", kUid).With("value", step.uid);
    texts = texts.With("column2", kText).With("value2", step.text);
  } else if (!step.uid.empty()) {
    texts = texts.With("whereColumn", kUid).With("whereValue", step.uid);
    texts = texts.With("column", kText).With("value", step.text);
  }
  return operations::Run(step.member, database, file, texts);
}

Content After(const Step& step, Content content) {
  if (step.member == "DropTable") {
    return std::nullopt;
  }
  if (!content) {
    content.emplace();
  }
  if (step.member == "Upsert" || content->count(step.uid) != 0) {
    (*content)[step.uid] = step.text;
  }
  if (step.member == "Delete") {
    step.uid.empty() ? content->clear() : static_cast<void>(content->erase(step.uid));
  }
  return content;
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
