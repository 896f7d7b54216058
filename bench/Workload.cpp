#include "Workload.h"

#include <unistd.h>

#include <array>
#include <filesystem>

#include "contenders/Contenders.h"
#include "contenders/Raw.h"

namespace bench {

namespace {

constexpr int kKinds = 5;

// The cells of a row in turn: numbers, texts that fit into a string object and one
// that does not.
std::string Cell(int row, int kind) {
  const std::string number = std::to_string(row);
  switch (kind) {
    case 0:
      return number;
    case 1:
      return "name " + number;
    case 2:
      return "+351 " + std::to_string(912345 + row % 1000);
    case 3:
      return "name." + number + "@mail.example.org";
    default:
      return std::to_string(18 + row % 80);
  }
}

std::string ColumnName(int column) {
  static const char* const kNames[kKinds] = {"uid", "name", "phone", "mail", "age"};
  const std::string name = kNames[column % kKinds];
  return column < kKinds ? name : name + std::to_string(column / kKinds);
}

const char* ColumnType(int column) {
  const int kind = column % kKinds;
  return kind == 0 || kind == kKinds - 1 ? " INTEGER" : " TEXT";
}

std::string CreateSql(const std::string& table, int columns) {
  std::string sql = "CREATE TABLE " + table + " (";
  for (int column = 0; column < columns; ++column) {
    sql += (column > 0 ? ", " : "") + ColumnName(column) + ColumnType(column);
  }
  return sql + ')';
}

std::string InsertSql(const std::string& table, int row, int columns) {
  std::string sql = "INSERT INTO " + table + " VALUES (";
  for (int column = 0; column < columns; ++column) {
    sql += (column > 0 ? ", '" : "'") + Cell(row, column % kKinds) + '\'';
  }
  return sql + ')';
}

void FillWholeTable(const RawConnection& connection, const Shape& shape) {
  connection.Execute("BEGIN");
  for (int table = 1; table < shape.tables; ++table) {
    connection.Execute(CreateSql("other" + std::to_string(table), kKinds));
  }
  connection.Execute(CreateSql(kWholeTable, shape.columns));
  for (int row = 0; row < shape.rows; ++row) {
    connection.Execute(InsertSql(kWholeTable, row, shape.columns));
  }
  connection.Execute("COMMIT");
}

void AddRow(Columns& columns, int row, int count) {
  for (int column = 0; column < count; ++column) {
    columns[ColumnName(column)].push_back(Cell(row, column % kKinds));
  }
}

std::string NoteText(int owner) { return "a note of " + std::to_string(owner); }

void FillContacts(const RawConnection& connection) {
  connection.Execute("CREATE TABLE note (owner INTEGER, text TEXT)");
  for (int row = 0; row < kContacts; ++row) {
    connection.Execute(InsertSql("contact", row, kKinds));
    connection.Execute("INSERT INTO note VALUES (" + std::to_string(row) + ", '" + NoteText(row) +
                       "')");
  }
}

constexpr std::uint64_t kHashOfNothing = 14695981039346656037U;

void Mix(std::uint64_t& hash, const std::string& text) {
  constexpr std::uint64_t kPrime = 1099511628211U;
  for (const char character : text) {
    hash = (hash ^ static_cast<unsigned char>(character)) * kPrime;
  }
  hash *= kPrime;  // the end of the text
}

}  // namespace

Place WholeTable(const std::string& folder, const Shape& shape) {
  Place place{folder, "whole-" + std::to_string(shape.rows) + '-' + std::to_string(shape.columns) +
                          '-' + std::to_string(shape.tables) + ".db"};
  if (access(place.Path().c_str(), F_OK) != 0) {
    const Place part{folder, place.file + ".part"};
    unlink(part.Path().c_str());
    FillWholeTable(RawConnection(part.Path()), shape);
    std::filesystem::rename(part.Path(), place.Path());
  }
  return place;
}

Place CopyOf(const Place& place, const std::string& name) {
  Place copy{place.directory, name};
  std::filesystem::copy_file(place.Path(), copy.Path(),
                             std::filesystem::copy_options::overwrite_existing);
  return copy;
}

Columns WholeResult(const Shape& shape) {
  Columns columns;
  for (int row = 0; row < shape.rows; ++row) {
    AddRow(columns, row, shape.columns);
  }
  return columns;
}

Contact PresentContact() {
  static const std::array<std::string, kKinds> cells = {Cell(kPresent, 0), Cell(kPresent, 1),
                                                        Cell(kPresent, 2), Cell(kPresent, 3),
                                                        Cell(kPresent, 4)};
  return {cells[0].c_str(), cells[1].c_str(), cells[2].c_str(), cells[3].c_str(), cells[4].c_str()};
}

Place ContactFile(const std::string& folder, const std::string& name) {
  Place place{folder, name};
  unlink(place.Path().c_str());
  MakeRaw()->CreateContact(place);
  const RawConnection connection(place.Path());
  connection.Execute("BEGIN");
  FillContacts(connection);
  connection.Execute("COMMIT");
  return place;
}

Columns AllContacts(const Place& place) {
  const std::unique_ptr<Contender> raw = MakeRaw();
  raw->SelectAll(place, "contact");
  return raw->Result();
}

Columns ContactResult() {
  Columns columns;
  AddRow(columns, kPresent, kKinds);
  return columns;
}

Columns NotesResult() {
  Columns columns = ContactResult();
  columns["owner"].push_back(std::to_string(kPresent));
  columns["text"].push_back(NoteText(kPresent));
  return columns;
}

std::uint64_t WholeHash(const Shape& shape) {
  std::map<std::string, int> columns;
  for (int column = 0; column < shape.columns; ++column) {
    columns[ColumnName(column)] = column;
  }
  std::uint64_t hash = kHashOfNothing;
  for (const auto& [name, column] : columns) {
    Mix(hash, name);
    for (int row = 0; row < shape.rows; ++row) {
      Mix(hash, Cell(row, column % kKinds));
    }
  }
  return hash;
}

std::uint64_t HashOf(const Columns& columns) {
  std::uint64_t hash = kHashOfNothing;
  for (const auto& [name, cells] : columns) {
    Mix(hash, name);
    for (const std::string& cell : cells) {
      Mix(hash, cell);
    }
  }
  return hash;
}

}  // namespace bench
