// A cell's text, which is the whole input, read as each type.

#include <string>

#include "CursorSession.h"
#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CursorSession session;
  for (const char* column : {"column", "other column"}) {
    session.Run(&CursorSession::SetColumn, column);
    session.Run(&CursorSession::SetData, column, text.c_str());
  }
  session.Run(&CursorSession::MoveToNext);
  session.Run(&CursorSession::GetInt, "column");
  session.Run(&CursorSession::GetDouble, "column");
  session.Run(&CursorSession::GetString, "column");
  return 0;
}
