// A sequence of calls on a cursor, one per line: the letter of a call below, and the name, the
// value or the number that it takes.

#include "CursorSession.h"
#include "FuzzTarget.h"
#include "InputReader.h"

namespace {

void Call(CursorSession& session, const InputLine& line) {
  switch (line.Letter()) {
    case 'C':
      return session.Run(&CursorSession::SetColumn, line.Pointer(0));
    case 'D':
      return session.Run(&CursorSession::SetData, line.Pointer(0), line.Pointer(1));
    case 'I':
      return session.Run(&CursorSession::Initialize);
    case '<':
      return session.Run(&CursorSession::MoveToFirst);
    case '>':
      return session.Run(&CursorSession::MoveToLast);
    case 'n':
      return session.Run(&CursorSession::MoveToNext);
    case 'p':
      return session.Run(&CursorSession::MoveToPrev);
    case 'm':
      return session.Run(&CursorSession::MoveToPosition, line.Number(0));
    case 'v':
      return session.Run(&CursorSession::IsValidPosition, line.Number(0));
    case 's':
      return session.Run(&CursorSession::GetString, line.Pointer(0));
    case 'i':
      return session.Run(&CursorSession::GetInt, line.Pointer(0));
    case 'd':
      return session.Run(&CursorSession::GetDouble, line.Pointer(0));
    case 'k':
      return session.Run(&CursorSession::GetColumn);
    case 'S':
      return session.Run(&CursorSession::ShowDataLog);
    default:
      return;
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CursorSession session;
  for (InputReader input(data, size); !input.IsAtEnd();) {
    Call(session, input.NextLine());
  }
  return 0;
}
