// The fields of the requests, and the texts that all statements are to have then.
// One setter per line, called on each request that has it:
//
//   P directory file    the path
//   T table             the table, and the one whose existence is asked for
//   K name type         the primary key
//   X name type         the second key
//   C slot name type    a column of the table to be created
//   L R table column    the join's sides
//   d w kind slot name value
//                       an entry of the data or of the where map; the kind is
//                       t (text), i (int), d (double) or r (a text that may hold a
//                       NUL, which no setter takes)
//
// Fields follow the letter and are separated by tabs; "~" is null. A slot is the
// place of a column's name in memory, from 0 to 15: the first name given to it
// stays, and the order of the slots is that of their addresses.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Containers.h"
#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "FuzzTarget.h"
#include "InputReader.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using Texts = std::vector<std::string>;
// None where what is to be read was never set, or cannot be.
using MaybeText = std::optional<std::string>;

std::string Join(const Texts& items, const std::string& separator) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    text += (i == 0 ? "" : separator) + items[i];
  }
  return text;
}

// What stands before the last place where the text holds the part.
std::string BeforeLast(const std::string& text, const std::string& part) {
  std::string before = text;
  for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
    if (text.substr(at, part.size()) == part) {
      before = text.substr(0, at);
    }
  }
  return before;
}

// The names of columns, at ascending addresses. They live as long as requests are
// to read them.
class Slots {
 public:
  static constexpr std::size_t kCount = 16;

  // Names too long for a slot are cut.
  const char* Name(std::size_t slot, const char* name) {
    if (!m_isNamed[slot]) {
      m_isNamed[slot] = true;
      std::strncpy(m_names[slot].data(), name, kSize - 1);
    }
    return m_names[slot].data();
  }

 private:
  static constexpr std::size_t kSize = 64;
  std::array<std::array<char, kSize>, kCount> m_names{};
  std::array<bool, kCount> m_isNamed{};
};

// The entries of one map: per slot the first value that was set.
struct Entries {
  struct Entry {
    std::string name;
    std::string value;
  };

  bool IsEmpty() const { return !hasNullName && Pairs("").empty(); }

  Texts Names() const {
    return Items([](const Entry& entry) { return entry.name; });
  }

  Texts Values() const {
    return Items([](const Entry& entry) { return "'" + entry.value + "'"; });
  }

  Texts Pairs(const std::string& sign) const {
    return Items([&](const Entry& entry) { return entry.name + sign + "'" + entry.value + "'"; });
  }

  // In the order of the slots.
  template <typename Format>
  Texts Items(Format format) const {
    Texts items;
    for (const std::optional<Entry>& entry : slots) {
      if (entry) {
        items.push_back(format(*entry));
      }
    }
    return items;
  }

  std::array<std::optional<Entry>, Slots::kCount> slots;
  bool hasNullName = false;
};

// Two texts that belong together: either both count, or none.
struct Pair {
  MaybeText first;
  MaybeText second;

  std::string First() const { return first && second ? *first : ""; }
  std::string Second() const { return first && second ? *second : ""; }
  bool IsKey() const { return !First().empty() && !Second().empty(); }
};

struct Model {
  std::string Conditions() const { return Join(where.Pairs("="), " AND "); }

  std::string WhereIfAny() const { return where.IsEmpty() ? "" : " WHERE " + Conditions(); }

  std::string SelectSql() const { return "SELECT * FROM " + table.value_or("") + WhereIfAny(); }

  std::string DeleteSql() const { return "DELETE  FROM " + table.value_or("") + WhereIfAny(); }

  std::string JoinSql() const {
    return "SELECT  * FROM " + left.First() + " INNER JOIN " + right.First() + " ON " +
           left.First() + "." + left.Second() + " = " + right.First() + "." + right.Second() +
           WhereIfAny();
  }

  std::string UpsertSql() const {
    return "INSERT OR REPLACE INTO " + table.value_or("") + " (" + Join(data.Names(), ", ") +
           ") VALUES (" + Join(data.Values(), ", ") + ")";
  }

  // Both cuts are made always, also where nothing was appended that they could end.
  std::string UpdateSql() const {
    const std::string start = "UPDATE " + table.value_or("") + " SET ";
    const std::string set =
        data.IsEmpty() ? BeforeLast(start, ", ") : start + Join(data.Pairs(" = "), ", ");
    return where.IsEmpty() ? BeforeLast(set + " WHERE ", " AND") : set + " WHERE " + Conditions();
  }

  std::string CreateSql() const {
    Texts items;
    const bool isComposite = primary.IsKey() && composite.IsKey();
    if (!primary.IsKey()) {
      items.emplace_back("_ID INTEGER PRIMARY KEY");
    } else if (!isComposite) {
      items.push_back(*primary.first + " " + *primary.second + " NOT NULL PRIMARY KEY");
    } else {
      items.push_back(*primary.first + " " + *primary.second);
      items.push_back(*composite.first + " " + *composite.second);
    }
    items.insert(items.end(), columns.begin(), columns.end());
    if (isComposite) {
      items.push_back("PRIMARY KEY(" + Join({*primary.first, *composite.first}, ", ") + ")");
    }
    return "CREATE TABLE IF NOT EXISTS " + table.value_or("") + " (" + Join(items, ", ") + ")";
  }

  std::string DropSql() const { return "DROP TABLE " + table.value_or(""); }

  Pair path;
  MaybeText table;
  Pair primary;
  Pair composite;
  Pair left;
  Pair right;
  Texts columns;
  bool hasNullColumn = false;
  Entries data;
  Entries where;
};

// The texts of numbers are those of a stream that nobody has told anything.
std::string TextOf(int number) { return std::to_string(number); }

std::string TextOf(double number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%g", number);
  return text.data();
}

// A request keeps a text until its end, and a second one does not release the
// first. So each is set once, and null afterwards, which changes nothing.
const char* Once(MaybeText& field, const char* text) {
  if (text == nullptr || field) {
    return nullptr;
  }
  field = text;
  return text;
}

// All requests, filled alike, beside the model.
class Session {
 public:
  void Set(const InputLine& line) {
    switch (line.Letter()) {
      case 'P':
        return SetPath(line);
      case 'T':
        return SetTable(line);
      case 'K':
        return SetPair(m_model.primary, &CreateRequest::SetPrimaryKey, m_create, line);
      case 'X':
        return SetPair(m_model.composite, &CreateRequest::SetCompositeKey, m_create, line);
      case 'L':
        return SetPair(m_model.left, &JoinRequest::SetLeftJoin, m_join, line);
      case 'R':
        return SetPair(m_model.right, &JoinRequest::SetRightJoin, m_join, line);
      case 'C':
        return SetColumnKey(line);
      case 'd':
        return SetEntry(line, m_model.data, kData);
      case 'w':
        return SetEntry(line, m_model.where, kWhere);
      default:
        return;
    }
  }

  void ExpectTexts() {
    ExpectPath();
    ExpectStoredPath();
    ExpectTable();
    const bool isWhereBad = m_model.where.hasNullName;
    const bool isDataBad = m_model.data.hasNullName;
    ExpectSql(&SqlGenerator::GetSelectSql, m_select, isWhereBad, m_model.SelectSql());
    ExpectSql(&SqlGenerator::GetDeleteSql, m_delete, isWhereBad, m_model.DeleteSql());
    ExpectSql(&SqlGenerator::GetJoinSql, m_join, isWhereBad, m_model.JoinSql());
    ExpectSql(&SqlGenerator::GetUpsertSql, m_upsert, isDataBad, m_model.UpsertSql());
    ExpectSql(&SqlGenerator::GetUpdateSql, m_update, isDataBad || isWhereBad, m_model.UpdateSql());
    ExpectSql(&SqlGenerator::GetDropTableSql, m_drop, false, m_model.DropSql());
    ExpectSql(&SqlGenerator::GetCreateTableSql, m_create, m_model.hasNullColumn,
              m_model.CreateSql());
  }

 private:
  // The setters of one of the maps, and the map itself.
  struct Setters {
    void (BaseSet::*text)(const char*, const char*);
    void (BaseSet::*integer)(const char*, int);
    void (BaseSet::*real)(const char*, double);
    BaseSet::ColumnMap& (*map)(BaseSet&);
  };
  static constexpr Setters kData{&BaseSet::SetData, &BaseSet::SetData, &BaseSet::SetData,
                                 &DataMapOf};
  static constexpr Setters kWhere{&BaseSet::SetWhere, &BaseSet::SetWhere, &BaseSet::SetWhere,
                                  &WhereMapOf};

  void SetPath(const InputLine& line) {
    m_directory = line.Text(0);
    m_file = line.Text(1);
    SetPair(m_model.path, &BasePath::SetPath, m_select, line);
  }

  void SetTable(const InputLine& line) {
    m_table = line.Text(0);
    const char* const table = Once(m_model.table, line.Pointer(0));
    m_select.SetTable(table);
    m_delete.SetTable(table);
    m_upsert.SetTable(table);
    m_update.SetTable(table);
    m_create.SetTable(table);
    m_drop.SetTable(table);
  }

  template <typename Class, typename Request>
  static void SetPair(Pair& pair, void (Class::*set)(const char*, const char*), Request& request,
                      const InputLine& line) {
    const char* const first = Once(pair.first, line.Pointer(0));
    const char* const second = Once(pair.second, line.Pointer(1));
    (request.*set)(first, second);
  }

  // Null for the name of which there is none.
  const char* NameOf(const InputLine& line, std::size_t field) {
    const char* const name = line.Pointer(field + 1);
    return name == nullptr ? nullptr : m_slots.Name(SlotOf(line, field), name);
  }

  static std::size_t SlotOf(const InputLine& line, std::size_t field) {
    return static_cast<std::size_t>(line.Number(field)) % Slots::kCount;
  }

  void SetColumnKey(const InputLine& line) {
    const char* const name = NameOf(line, 0);
    const char* const type = line.Pointer(2);
    if (type == nullptr) {
      return;  // no type at all: nothing is promised
    }
    m_create.SetColumnKey(name, type);
    if (name == nullptr) {
      m_model.hasNullColumn = true;
    } else {
      m_model.columns.push_back(std::string(name) + " " + type);
    }
  }

  void SetEntry(const InputLine& line, Entries& entries, const Setters& setters) {
    const char* const name = NameOf(line, 1);
    MaybeText value;
    for (BaseSet* const set :
         std::array<BaseSet*, 5>{&m_select, &m_delete, &m_upsert, &m_update, &m_join}) {
      value = SetValue(line, *set, name, setters);
    }
    if (!value) {
      return;
    }
    if (name == nullptr) {
      entries.hasNullName = true;
    } else if (auto& entry = entries.slots[SlotOf(line, 1)]; !entry) {
      entry = Entries::Entry{name, *value};
    }
  }

  // Calls the setter that the line names; gives the text that a statement holds.
  static MaybeText SetValue(const InputLine& line, BaseSet& set, const char* name,
                            const Setters& setters) {
    const std::string kind = line.Text(0);
    const char* const text = line.Pointer(3);
    if (kind == "t" && text == nullptr) {
      EXPECT_THROW((set.*setters.text)(name, text), std::logic_error);
      return std::nullopt;
    }
    if (kind == "t") {
      (set.*setters.text)(name, text);
      return text;
    }
    if (kind == "i") {
      (set.*setters.integer)(name, line.Number(3));
      return TextOf(line.Number(3));
    }
    if (kind == "d") {
      const double number = std::strtod(line.Text(3).c_str(), nullptr);
      (set.*setters.real)(name, number);
      return TextOf(number);
    }
    if (kind == "r") {
      setters.map(set).insert({name, line.Text(3)});
      return line.Text(3).c_str();
    }
    return std::nullopt;
  }

  void ExpectPath() {
    const bool needsSlash = !m_directory.empty() && m_directory.back() != '/';
    std::string path = "before";
    m_generator.GetDBPath(m_directory, m_file, path);
    EXPECT_EQ(m_directory + (needsSlash ? "/" : "") + m_file, path);
  }

  void ExpectStoredPath() {
    std::string directory = "before";
    std::string file = "before";
    if (m_model.path.first && m_model.path.second) {
      m_select.GetPath(directory, file);
    } else {
      EXPECT_THROW(m_select.GetPath(directory, file), std::logic_error);
    }
    EXPECT_EQ(m_model.path.first.value_or("before"), directory);
    EXPECT_EQ(m_model.path.first ? m_model.path.second.value_or("before") : "before", file);
  }

  void ExpectTable() {
    std::string sql = "before";
    m_generator.GetCheckTableSql(m_table, sql);
    EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='" + m_table + "'",
              sql);
  }

  // Twice, since a request may be run again.
  template <typename Request>
  void ExpectSql(void (SqlGenerator::*get)(Request&, std::string&), Request& request, bool throws,
                 const std::string& expected) {
    for (int time = 0; time < 2; ++time) {
      std::string sql = "before";
      if (throws) {
        EXPECT_THROW((m_generator.*get)(request, sql), std::logic_error);
        EXPECT_EQ("before", sql);
      } else {
        (m_generator.*get)(request, sql);
        EXPECT_EQ(expected, sql);
      }
    }
  }

  Slots m_slots;
  Model m_model;
  // Given to the generator as they are, NULs included.
  std::string m_directory;
  std::string m_file;
  std::string m_table;
  SqlGenerator m_generator;
  SelectRequest m_select;
  DeleteRequest m_delete;
  UpsertRequest m_upsert;
  UpdateRequest m_update;
  JoinRequest m_join;
  CreateRequest m_create;
  DropRequest m_drop;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Session session;
  for (InputReader input(data, size); !input.IsAtEnd();) {
    session.Set(input.NextLine());
  }
  session.ExpectTexts();
  return 0;
}
