#include <csv.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Terminal.h"

namespace vorndb {

namespace {

struct CsvRow {
  std::size_t line;  // where it begins, from 1
  std::vector<std::string> fields;
};

// Rows of a CSV file: fields separated by commas, in double quotes where needed.
class CsvReader {
 public:
  // Reads from the stream, which has to live as long. `name` is for messages.
  CsvReader(std::istream& input, std::string name) : m_input(input), m_name(std::move(name)) {
    if (csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI) != 0) {
      throw std::bad_alloc();
    }
  }

  ~CsvReader() { csv_free(&m_parser); }

  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;

  // The next row, or nothing at the end; empty lines are skipped. Throws Failure if the text
  // is not CSV, and when the stream fails. The parser gets a line at a time, so that it is
  // known where a row begins; a line ends at most one row.
  std::optional<CsvRow> Next() {
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

  std::uintmax_t BytesRead() const { return m_bytesRead; }

  // Throws Failure: "FILE, line 7: …".
  [[noreturn]] void Fail(std::size_t line, const std::string& problem) const {
    throw Failure(m_name + ", line " + std::to_string(line) + ": " + problem);
  }

 private:
  static void TakeField(void* text, std::size_t length, void* reader) {
    auto& self = *static_cast<CsvReader*>(reader);
    self.m_fields.emplace_back(static_cast<const char*>(text), length);
  }

  static void TakeRow(int /*end*/, void* reader) {
    auto& self = *static_cast<CsvReader*>(reader);
    self.m_row = {self.m_rowStart, std::exchange(self.m_fields, {})};
    self.m_rowStart = 0;
  }

  // A line with its end, which is any that the parser knows; nothing at the end of the file.
  std::string TakeLine() {
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

  void Parse(std::string line) {
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
      Fail(m_line, "a quote is out of place; quoted fields are \"…\", with \"\" inside");
    }
  }

  void Finish() {
    FailIf(m_input.bad(), "cannot read " + m_name);
    if (csv_fini(&m_parser, TakeField, TakeRow, this) != 0) {
      Fail(m_rowStart, "a quoted field that begins in this row does not end");
    }
  }

  std::istream& m_input;
  std::string m_name;
  csv_parser m_parser{};
  std::uintmax_t m_bytesRead = 0;
  std::size_t m_line = 0;
  std::size_t m_rowStart = 0;  // 0 between two rows
  std::vector<std::string> m_fields;
  std::optional<CsvRow> m_row;
};

// The first row names the columns.
std::vector<Assignment> ReadHeader(CsvReader& reader) {
  const auto header = reader.Next();
  if (!header) {
    reader.Fail(1, "there is no line that names the columns");
  }
  std::vector<Assignment> columns;
  try {
    for (const std::string& name : header->fields) {
      RefuseIf(name.find('\0') != std::string::npos,
               "the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8");
      RequirePlainName("column", name);
      columns.emplace_back().column = name;
    }
    RequireDistinct(header->fields);
  } catch (const UsageError& error) {
    reader.Fail(header->line, error.what());
  }
  return columns;
}

// Throws Failure for fields that are no values of the columns.
void SetFields(std::vector<Assignment>& columns, const std::vector<std::string>& fields) {
  FailIf(fields.size() != columns.size(), "it has " + std::to_string(fields.size()) +
                                              " fields, and the header has " +
                                              std::to_string(columns.size()));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    FailIf(fields[i].find('\0') != std::string::npos,
           "the value of " + columns[i].column + " holds a NUL, where a text ends");
    columns[i].value = fields[i];
  }
}

// Writes row after row and stops at the first that fails. A total of 0 bytes is unknown.
std::size_t ImportRows(Arguments upsert, CsvReader& reader, std::uintmax_t total) {
  if (!upsert.sql) {
    RequireExisting(upsert.file);
  }
  Progress progress(upsert.sql || upsert.verbose ? 0 : total);
  upsert.values = ReadHeader(reader);
  std::size_t count = 0;
  try {
    while (const auto row = reader.Next()) {
      try {
        SetFields(upsert.values, row->fields);
        Upsert(upsert);
      } catch (const Failure& failure) {
        reader.Fail(row->line, failure.what());
      }
      progress.Show(reader.BytesRead(), ++count);
    }
  } catch (const Failure& failure) {
    const std::string before = "; rows before it that are written: " + std::to_string(count);
    throw Failure(failure.what() + (upsert.sql ? "" : before));
  }
  return count;
}

}  // namespace

void Import(const Arguments& arguments) {
  std::string name = arguments.path;
  std::ifstream file;
  std::istream& input = OpenInput(name, file);
  CsvReader reader(input, name);
  std::error_code unknown;
  const std::uintmax_t size = file.is_open() ? std::filesystem::file_size(name, unknown) : 0;
  const std::size_t count = ImportRows(arguments, reader, unknown ? 0 : size);
  if (!arguments.sql) {
    std::cout << Counted(count, "row") << " written to " << arguments.table << '\n';
  }
}

}  // namespace vorndb
