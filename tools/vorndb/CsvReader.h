// Rows of a CSV file: fields separated by commas, in double quotes where needed.

#ifndef VORNDB_CSVREADER_H
#define VORNDB_CSVREADER_H

#include <csv.h>

#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace vorndb {

struct CsvRow {
  std::size_t line;  // where it begins, from 1
  std::vector<std::string> fields;
};

class CsvReader {
 public:
  // Reads from the stream, which has to live as long. `name` is for messages.
  CsvReader(std::istream& input, std::string name);
  ~CsvReader();

  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;

  // The next row, or nothing at the end; empty lines are skipped. Throws Failure for what
  // is not CSV, and when the stream fails.
  std::optional<CsvRow> Next();

  std::uintmax_t BytesRead() const { return m_bytesRead; }

  // Throws Failure: "FILE, line 7: …".
  [[noreturn]] void Fail(std::size_t line, const std::string& problem) const;

 private:
  static void TakeField(void* text, std::size_t length, void* reader);
  static void TakeRow(int end, void* reader);

  std::string TakeLine();
  void Parse(std::string line);
  void Finish();

  std::istream& m_input;
  std::string m_name;
  csv_parser m_parser{};
  std::uintmax_t m_bytesRead = 0;
  std::size_t m_line = 0;
  std::size_t m_rowStart = 0;  // 0 between two rows
  std::vector<std::string> m_fields;
  std::optional<CsvRow> m_row;
};

}  // namespace vorndb

#endif  // VORNDB_CSVREADER_H
