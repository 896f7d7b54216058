#include "CsvReader.h"

#include <new>
#include <utility>

#include "Errors.h"

namespace vorndb {

CsvReader::CsvReader(std::istream& input, std::string name)
    : m_input(input), m_name(std::move(name)) {
  if (csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI) != 0) {
    throw std::bad_alloc();
  }
}

CsvReader::~CsvReader() { csv_free(&m_parser); }

void CsvReader::Fail(std::size_t line, const std::string& problem) const {
  throw Failure(m_name + ", line " + std::to_string(line) + ": " + problem);
}

// The parser gets a line at a time, so that it is known where a row begins. A line ends at
// most one row.
std::optional<CsvRow> CsvReader::Next() {
  m_row.reset();
  while (!m_row) {
    const std::string line = TakeLine();
    if (line.empty()) {
      Finish();
      break;
    }
    Parse(line);
  }
  return m_row;
}

// A line with its end, which is any that the parser knows; nothing at the end of the file.
std::string CsvReader::TakeLine() {
  constexpr int kEnd = std::char_traits<char>::eof();
  std::string line;
  for (int next = m_input.get(); next != kEnd; next = m_input.get()) {
    line += std::char_traits<char>::to_char_type(next);
    if (next == '\n' || (next == '\r' && m_input.peek() != '\n')) {
      break;
    }
  }
  return line;
}

void CsvReader::Parse(std::string line) {
  static const std::string byteOrderMark = "\xEF\xBB\xBF";
  ++m_line;
  m_bytesRead += line.size();
  if (m_line == 1 && line.compare(0, byteOrderMark.size(), byteOrderMark) == 0) {
    line.erase(0, byteOrderMark.size());
  }
  if (m_rowStart == 0 && line.find_first_not_of(" \t\r\n") != std::string::npos) {
    m_rowStart = m_line;
  }
  if (csv_parse(&m_parser, line.data(), line.size(), TakeField, TakeRow, this) != line.size()) {
    if (csv_error(&m_parser) == CSV_ENOMEM) {
      throw std::bad_alloc();
    }
    Fail(m_line, "a quote stands where none may be; quoted fields are \"…\", with \"\" inside");
  }
}

void CsvReader::Finish() {
  if (m_input.bad()) {
    throw Failure("cannot read " + m_name);
  }
  if (csv_fini(&m_parser, TakeField, TakeRow, this) != 0) {
    Fail(m_rowStart, "a quoted field that begins in this row does not end");
  }
}

void CsvReader::TakeField(void* text, std::size_t length, void* reader) {
  auto& self = *static_cast<CsvReader*>(reader);
  self.m_fields.emplace_back(static_cast<const char*>(text), length);
}

void CsvReader::TakeRow(int /*end*/, void* reader) {
  auto& self = *static_cast<CsvReader*>(reader);
  self.m_row = {self.m_rowStart, std::exchange(self.m_fields, {})};
  self.m_rowStart = 0;
}

}  // namespace vorndb
