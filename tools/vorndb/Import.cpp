#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <system_error>

#include "Commands.h"
#include "CsvReader.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Progress.h"
#include "Text.h"

namespace vorndb {

namespace {

// Writes row after row and stops at the first that fails.
class Importer {
 public:
  Importer(const Arguments& arguments, std::istream& input, const std::string& name)
      : m_upsert(arguments), m_reader(input, name) {}

  std::size_t Run(Progress& progress) {
    if (!m_upsert.sql) {
      DatabaseFile(m_upsert.file).RequireExisting();
    }
    ReadHeader();
    while (const auto row = NextRow()) {
      Write(*row);
      ++m_count;
      progress.Show(m_reader.BytesRead(), m_count);
    }
    return m_count;
  }

 private:
  // The first row names the columns.
  void ReadHeader() {
    const auto header = m_reader.Next();
    if (!header) {
      m_reader.Fail(1, "there is no line that names the columns");
    }
    try {
      for (const std::string& name : header->fields) {
        if (name.find('\0') != std::string::npos) {
          throw UsageError(
              "the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8");
        }
        RequirePlainName("column", name);
        m_upsert.values.push_back({name, ""});
      }
      RequireDistinct(header->fields);
    } catch (const UsageError& error) {
      m_reader.Fail(header->line, error.what());
    }
  }

  std::optional<CsvRow> NextRow() {
    try {
      return m_reader.Next();
    } catch (const Failure& failure) {
      throw Failure(failure.what() + CountBefore());
    }
  }

  void Write(const CsvRow& row) {
    std::vector<Assignment>& values = m_upsert.values;
    if (row.fields.size() != values.size()) {
      Fail(row, "it has " + std::to_string(row.fields.size()) + " fields, and the header has " +
                    std::to_string(values.size()));
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (row.fields[i].find('\0') != std::string::npos) {
        Fail(row, "the value of " + values[i].column + " holds a NUL, where a text ends");
      }
      values[i].value = row.fields[i];
    }
    try {
      Upsert(m_upsert);
    } catch (const Failure& failure) {
      Fail(row, failure.what());
    }
  }

  [[noreturn]] void Fail(const CsvRow& row, const std::string& problem) const {
    m_reader.Fail(row.line, problem + CountBefore());
  }

  std::string CountBefore() const {
    return m_upsert.sql ? "" : "; rows before it that are written: " + std::to_string(m_count);
  }

  Arguments m_upsert;
  CsvReader m_reader;
  std::size_t m_count = 0;
};

// A total of 0 bytes is unknown.
void ImportFrom(std::istream& input, const std::string& name, std::uintmax_t total,
                const Arguments& arguments) {
  std::size_t count = 0;
  {
    Progress progress(arguments.sql || arguments.verbose ? 0 : total);
    count = Importer(arguments, input, name).Run(progress);
  }
  if (!arguments.sql) {
    std::cout << CountedRows(count) << " written to " << arguments.table << '\n';
  }
}

}  // namespace

void Import(const Arguments& arguments) {
  if (arguments.path == "-") {
    ImportFrom(std::cin, "standard input", 0, arguments);
    return;
  }
  std::ifstream file(arguments.path, std::ios::binary);
  if (!file) {
    throw Failure("cannot read " + arguments.path);
  }
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(arguments.path, unknown);
  ImportFrom(file, arguments.path, unknown ? 0 : size, arguments);
}

}  // namespace vorndb
