#include "Import.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <system_error>

#include "CsvReader.h"
#include "Errors.h"
#include "Progress.h"
#include "Statement.h"
#include "Text.h"
#include "UpsertRequest.h"

namespace vorndb {

namespace {

constexpr char kStandardInput[] = "-";

class Importer {
 public:
  Importer(const Arguments& arguments, CsvReader& reader, Progress& progress)
      : m_arguments(arguments), m_reader(reader), m_progress(progress) {
    if (!arguments.sql) {
      m_file.emplace(arguments.file);
      m_file->RequireExisting();
    }
  }

  std::size_t Run() {
    ReadHeader();
    while (const auto row = NextRow()) {
      Write(*row);
      ++m_count;
      m_progress.Show(m_reader.BytesRead(), m_count);
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
        m_columns.push_back({name, ""});
      }
      RequireDistinct(header->fields);
    } catch (const UsageError& error) {
      m_reader.Fail(header->line, error.what());
    }
    m_names.emplace(m_columns);
  }

  std::optional<CsvRow> NextRow() {
    try {
      return m_reader.Next();
    } catch (const Failure& failure) {
      throw Failure(failure.what() + CountBefore());
    }
  }

  void Write(const CsvRow& row) {
    if (row.fields.size() != m_columns.size()) {
      Fail(row, "it has " + std::to_string(row.fields.size()) + " fields, and the header has " +
                    std::to_string(m_columns.size()));
    }
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
      if (row.fields[i].find('\0') != std::string::npos) {
        Fail(row, "the value of " + m_columns[i].column + " holds a NUL, where a text ends");
      }
      m_columns[i].value = row.fields[i];
    }
    UpsertRequest request;
    request.SetTable(m_arguments.table.c_str());
    SetValues(request, m_columns, *m_names);
    if (m_arguments.sql) {
      PrintSql(request, &SqlGenerator::GetUpsertSql);
      return;
    }
    try {
      RunWrite(*m_file, request, &Database::Upsert, {m_arguments.table});
    } catch (const Failure& failure) {
      Fail(row, failure.what());
    }
  }

  [[noreturn]] void Fail(const CsvRow& row, const std::string& problem) const {
    m_reader.Fail(row.line, problem + CountBefore());
  }

  std::string CountBefore() const {
    return m_arguments.sql ? "" : "; rows before it that are written: " + std::to_string(m_count);
  }

  const Arguments& m_arguments;
  CsvReader& m_reader;
  Progress& m_progress;
  std::optional<DatabaseFile> m_file;
  // One request a row, but the same names in all of them.
  std::vector<Assignment> m_columns;
  std::optional<NameBlock> m_names;
  std::size_t m_count = 0;
};

std::uintmax_t SizeOf(const std::string& path) {
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(path, unknown);
  return unknown ? 0 : size;
}

void ImportFrom(std::istream& input, const Arguments& arguments) {
  const bool isFile = arguments.path != kStandardInput;
  CsvReader reader(input, isFile ? arguments.path : "standard input");
  std::size_t count = 0;
  {
    Progress progress(isFile ? SizeOf(arguments.path) : 0, !arguments.sql && !arguments.verbose);
    count = Importer(arguments, reader, progress).Run();
  }
  if (!arguments.sql) {
    std::cout << CountedRows(count) << " written to " << arguments.table << '\n';
  }
}

}  // namespace

void Import(const Arguments& arguments) {
  if (arguments.path == kStandardInput) {
    ImportFrom(std::cin, arguments);
    return;
  }
  std::ifstream file(arguments.path, std::ios::binary);
  if (!file) {
    throw Failure("cannot read " + arguments.path);
  }
  ImportFrom(file, arguments);
}

}  // namespace vorndb
