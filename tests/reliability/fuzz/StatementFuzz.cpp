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

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Containers.h"
#include "FuzzTarget.h"
#include "InputReader.h"
#include "Operations.h"
#include "SqlGenerator.h"

namespace {

using Texts = std::vector<std::string>;

constexpr std::size_t kSlots = 16;

std::string Join(const Texts& items, const std::string& separator) {
  std::string text;
  for (std::size_t i = 0; i < items.size(); ++i) {
    text += (i == 0 ? "" : separator) + items[i];
  }
  return text;
}

// The text before the last occurrence of the part; all of it where there is none.
std::string BeforeLast(const std::string& text, const std::string& part) {
  std::string before = text;
  for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
    if (text.substr(at, part.size()) == part) {
      before = text.substr(0, at);
    }
  }
  return before;
}

// The model: each statement, as plainly as it can be written.

// A name that a statement holds. The generator throws for a null one.
struct NullName {};
std::string Named(const std::optional<std::string>& name) {
  return name ? *name : throw NullName();
}

// The entries of one map in the order of their slots, each with the first value set.
struct Entries {
  struct Entry {
    std::optional<std::string> name;
    std::string value;
  };

  Texts Names() const {
    return Items([](const Entry& entry) { return Named(entry.name); });
  }
  Texts Values() const {
    return Items([](const Entry& entry) { return "'" + entry.value + "'"; });
  }
  Texts Pairs(const std::string& sign) const {
    return Items(
        [&](const Entry& entry) { return Named(entry.name) + sign + "'" + entry.value + "'"; });
  }
  template <typename Format>
  Texts Items(Format format) const {
    Texts items;
    for (const auto& [slot, entry] : bySlot) {
      items.push_back(format(entry));
    }
    return items;
  }

  std::map<std::size_t, Entry> bySlot;  // the null name's is beyond the others
};

// The texts of a field, none where they were not set. Of a pair both count, or none.
struct Field {
  std::string First() const { return IsWhole() ? *first : ""; }
  std::string Second() const { return IsWhole() ? second.value_or("") : ""; }
  bool IsWhole() const { return first && (second || !isPair); }
  bool IsKey() const { return !First().empty() && !Second().empty(); }

  bool isPair = true;
  std::optional<std::string> first;
  std::optional<std::string> second;
};

struct Model {
  std::string Table() const { return At("Table").First(); }
  std::string Conditions() const { return Join(where.Pairs("="), " AND "); }
  std::string WhereIfAny() const { return where.bySlot.empty() ? "" : " WHERE " + Conditions(); }

  std::string Select() const { return "SELECT * FROM " + Table() + WhereIfAny(); }
  std::string Delete() const { return "DELETE  FROM " + Table() + WhereIfAny(); }

  std::string JoinSelect() const {
    const Field left = At("LeftJoin");
    const Field right = At("RightJoin");
    return "SELECT  * FROM " + left.First() + " INNER JOIN " + right.First() + " ON " +
           left.First() + "." + left.Second() + " = " + right.First() + "." + right.Second() +
           WhereIfAny();
  }

  std::string Upsert() const {
    return "INSERT OR REPLACE INTO " + Table() + " (" + Join(data.Names(), ", ") + ") VALUES (" +
           Join(data.Values(), ", ") + ")";
  }

  // Both cuts are made always, also where nothing was appended that they could end.
  std::string Update() const {
    const std::string start = "UPDATE " + Table() + " SET ";
    const std::string set =
        data.bySlot.empty() ? BeforeLast(start, ", ") : start + Join(data.Pairs(" = "), ", ");
    return where.bySlot.empty() ? BeforeLast(set + " WHERE ", " AND")
                                : set + " WHERE " + Conditions();
  }

  std::string CreateTable() const {
    const Field primary = At("PrimaryKey");
    const Field composite = At("CompositeKey");
    const bool isComposite = primary.IsKey() && composite.IsKey();
    const std::string column = primary.First() + " " + primary.Second();
    Texts items;
    if (isComposite) {
      items = {column, composite.First() + " " + composite.Second()};
    } else {
      items = {primary.IsKey() ? column + " NOT NULL PRIMARY KEY" : "_ID INTEGER PRIMARY KEY"};
    }
    std::transform(columns.begin(), columns.end(), std::back_inserter(items), Named);
    if (isComposite) {
      items.push_back("PRIMARY KEY(" + primary.First() + ", " + composite.First() + ")");
    }
    return "CREATE TABLE IF NOT EXISTS " + Table() + " (" + Join(items, ", ") + ")";
  }

  // None where the generator throws. A statement of a table alone is the catalogue's.
  std::optional<std::string> Sql(const operations::Operation& operation) const {
    static const std::map<std::string, std::string (Model::*)() const> statements = {
        {"Select", &Model::Select}, {"JoinSelect", &Model::JoinSelect},
        {"Delete", &Model::Delete}, {"Upsert", &Model::Upsert},
        {"Update", &Model::Update}, {"CreateTable", &Model::CreateTable}};
    const auto own = statements.find(operation.member);
    try {
      return own != statements.end() ? (this->*own->second)() : operation.Sql({{"table", Table()}});
    } catch (const NullName&) {
      return std::nullopt;
    }
  }

  Field At(const std::string& name) const {
    const auto field = fields.find(name);
    return field == fields.end() ? Field() : field->second;
  }

  std::map<std::string, Field> fields;
  std::vector<std::optional<std::string>> columns;  // null: one of a null name
  Entries data;
  Entries where;
};

// As a stream with its default settings writes it.
std::string TextOf(double number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%g", number);
  return text.data();
}

std::optional<std::string> TextOf(const char* text) {
  return text == nullptr ? std::nullopt : std::make_optional<std::string>(text);
}

// All requests, filled alike, beside the model.
class Session {
 public:
  Session() {
    for (const operations::Operation& operation : operations::All()) {
      m_requests.push_back({&operation, operation.request.make()});
      if (auto* const set = dynamic_cast<BaseSet*>(m_requests.back().request.get())) {
        m_sets.push_back(set);
      }
    }
  }

  void Set(const InputLine& line) {
    static const std::map<char, const char*> kFields = {{'P', "Path"},       {'T', "Table"},
                                                        {'K', "PrimaryKey"}, {'X', "CompositeKey"},
                                                        {'L', "LeftJoin"},   {'R', "RightJoin"}};
    if (const auto field = kFields.find(line.Letter()); field != kFields.end()) {
      m_given[line.Letter()] = {line.Text(0), line.Text(1)};
      SetField(field->second, line);
    } else if (line.Letter() == 'C') {
      SetColumnKey(line);
    } else if (line.Letter() == 'd' || line.Letter() == 'w') {
      SetEntry(line);
    }
  }

  void ExpectTexts() {
    ExpectPath();
    ExpectCheckTable();
    for (const Filled& each : m_requests) {
      if (each.operation->request.generate) {
        ExpectSql(each);
      } else {
        ExpectStoredPath(*each.request);
      }
    }
  }

 private:
  struct Filled {
    const operations::Operation* operation;
    std::unique_ptr<BasePath> request;
  };

  // A request leaks a text that is replaced. So each is set once, and null afterwards,
  // which changes nothing.
  static const char* Once(std::optional<std::string>& text, const char* given) {
    if (given == nullptr || text) {
      return nullptr;
    }
    text = given;
    return given;
  }

  void SetField(const std::string& name, const InputLine& line) {
    Field& model = m_model.fields[name];
    const char* const first = Once(model.first, line.Pointer(0));
    const char* const second = Once(model.second, line.Pointer(1));
    for (const Filled& each : m_requests) {
      for (const auto& field : each.operation->request.fields) {
        if (field.name == name) {
          model.isPair = field.isPair;
          field.set(*each.request, first, second);
        }
      }
    }
  }

  // The name that its slot has, cut where it is too long; null for the null name.
  const char* NameOf(const InputLine& line, std::size_t field) {
    const char* const given = line.Pointer(field + 1);
    const std::size_t slot = line.Index(field, kSlots);
    auto& name = m_names[slot];
    if (given != nullptr && !m_isNamed[slot]) {
      m_isNamed[slot] = true;
      std::strncpy(name.data(), given, name.size() - 1);
    }
    return given == nullptr ? nullptr : name.data();
  }

  void SetColumnKey(const InputLine& line) {
    const char* const name = NameOf(line, 0);
    const char* const type = line.Pointer(2);
    if (type == nullptr) {
      return;  // no type at all: nothing is promised
    }
    for (const Filled& each : m_requests) {
      if (auto* const create = dynamic_cast<CreateRequest*>(each.request.get())) {
        create->SetColumnKey(name, type);
      }
    }
    m_model.columns.push_back(TextOf(name));
    if (name != nullptr) {
      *m_model.columns.back() += std::string(" ") + type;
    }
  }

  // Calls the setter that the line names.
  void SetEntry(const InputLine& line) {
    const bool isData = line.Letter() == 'd';
    const std::string kind = line.Text(0);
    const char* const name = NameOf(line, 1);
    const char* const text = line.Pointer(3);
    const double real = std::strtod(line.Text(3).c_str(), nullptr);
    std::optional<std::string> value;
    for (BaseSet* const set : m_sets) {
      const auto call = [&](auto given) {
        isData ? set->SetData(name, given) : set->SetWhere(name, given);
      };
      if (kind == "t" && text == nullptr) {
        EXPECT_THROW(call(text), std::logic_error);
      } else if (kind == "t") {
        call(text);
        value = text;
      } else if (kind == "i") {
        call(line.Number(3));
        value = std::to_string(line.Number(3));
      } else if (kind == "d") {
        call(real);
        value = TextOf(real);
      } else if (kind == "r") {
        (isData ? DataMapOf(*set) : WhereMapOf(*set)).insert({name, line.Text(3)});
        value = line.Text(3).c_str();
      }
    }
    Entries& entries = isData ? m_model.data : m_model.where;
    if (value) {
      const std::size_t slot = name == nullptr ? kSlots : line.Index(1, kSlots);
      entries.bySlot.insert({slot, {TextOf(name), *value}});
    }
  }

  // The generator takes both as they are given, NULs included.
  void ExpectPath() {
    const auto& [directory, file] = m_given['P'];
    const bool needsSlash = !directory.empty() && directory.back() != '/';
    std::string path = "before";
    SqlGenerator().GetDBPath(directory, file, path);
    EXPECT_EQ(directory + (needsSlash ? "/" : "") + file, path);
  }

  void ExpectCheckTable() {
    const std::string& table = m_given['T'].first;
    std::string sql = "before";
    SqlGenerator().GetCheckTableSql(table, sql);
    EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='" + table + "'",
              sql);
  }

  void ExpectStoredPath(BasePath& request) {
    const Field path = m_model.At("Path");
    std::string directory = "before";
    std::string file = "before";
    if (path.IsWhole()) {
      request.GetPath(directory, file);
    } else {
      EXPECT_THROW(request.GetPath(directory, file), std::logic_error);
    }
    EXPECT_EQ(path.first.value_or("before"), directory);
    EXPECT_EQ(path.first ? path.second.value_or("before") : "before", file);
  }

  // Twice, since a request may be run again.
  void ExpectSql(const Filled& own) {
    const auto expected = m_model.Sql(*own.operation);
    for (int time = 0; time < 2; ++time) {
      std::string sql = "before";
      if (expected) {
        own.operation->request.generate(*own.request, sql);
      } else {
        EXPECT_THROW(own.operation->request.generate(*own.request, sql), std::logic_error);
      }
      EXPECT_EQ(expected.value_or("before"), sql);
    }
  }

  // Names of columns at ascending addresses, which live as long as requests read them.
  std::array<std::array<char, 64>, kSlots> m_names{};
  std::array<bool, kSlots> m_isNamed{};
  std::map<char, std::pair<std::string, std::string>> m_given;
  Model m_model;
  std::vector<Filled> m_requests;
  std::vector<BaseSet*> m_sets;  // among them
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
