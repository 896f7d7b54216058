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
// A slot is the place of a column's name in memory, from 0 to 15: the first name given to it
// stays, and the order of the slots is that of their addresses.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Containers.h"
#include "FuzzTarget.h"
#include "InputReader.h"
#include "Operations.h"
#include "SqlGenerator.h"

namespace {

constexpr std::size_t kSlots = 16;

// None: a null pointer.
using Text = std::optional<std::string>;

Text TextOf(const char* text) { return text == nullptr ? std::nullopt : Text(text); }

// As a stream with its default settings writes it.
std::string TextOf(double number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%g", number);
  return text.data();
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

// A column with its value, its condition or its type.
struct Entry {
  Text name;
  std::string value;
};
std::string NameOf(const Entry& entry) { return entry.name.value(); }
std::string ValueOf(const Entry& entry) { return "'" + entry.value + "'"; }

// The first entry of each slot; that of the null name is beyond the others.
using Entries = std::map<std::size_t, Entry>;

template <typename Format>
std::string Join(const Entries& entries, const std::string& separator, Format format) {
  std::string text;
  for (const auto& [slot, entry] : entries) {
    text += format(entry) + separator;
  }
  return text.substr(0, text.size() - (entries.empty() ? 0 : separator.size()));
}

std::string JoinPairs(const Entries& entries, const std::string& separator,
                      const std::string& sign) {
  return Join(entries, separator,
              [&](const Entry& entry) { return NameOf(entry) + sign + ValueOf(entry); });
}

// The model: each statement, as plainly as it can be written. A name that is null throws.
struct Model {
  // A text of a field. Of a pair both count, or none.
  std::string At(const std::string& name, std::size_t number = 0) const {
    const auto field = fields.find(name);
    const bool counts =
        field != fields.end() && field->second[0] && (field->second[1] || name == "Table");
    return counts ? *field->second[number] : "";
  }
  std::string Key(const std::string& name) const { return At(name) + " " + At(name, 1); }
  bool HasKey(const std::string& name) const { return !At(name).empty() && !At(name, 1).empty(); }

  std::string Conditions() const { return JoinPairs(where, " AND ", "="); }
  std::string WhereIfAny() const { return where.empty() ? "" : " WHERE " + Conditions(); }

  std::string Select() const { return "SELECT * FROM " + At("Table") + WhereIfAny(); }
  std::string Delete() const { return "DELETE  FROM " + At("Table") + WhereIfAny(); }

  std::string JoinSelect() const {
    const std::string left = At("LeftJoin");
    const std::string right = At("RightJoin");
    return "SELECT  * FROM " + left + " INNER JOIN " + right + " ON " + left + "." +
           At("LeftJoin", 1) + " = " + right + "." + At("RightJoin", 1) + WhereIfAny();
  }

  std::string Upsert() const {
    return "INSERT OR REPLACE INTO " + At("Table") + " (" + Join(data, ", ", NameOf) +
           ") VALUES (" + Join(data, ", ", ValueOf) + ")";
  }

  // Both cuts are made always, also where nothing was appended that they could end.
  std::string Update() const {
    const std::string start = "UPDATE " + At("Table") + " SET ";
    const std::string set =
        data.empty() ? BeforeLast(start, ", ") : start + JoinPairs(data, ", ", " = ");
    return where.empty() ? BeforeLast(set + " WHERE ", " AND") : set + " WHERE " + Conditions();
  }

  std::string CreateTable() const {
    const bool hasKey = HasKey("PrimaryKey");
    const bool hasTwo = hasKey && HasKey("CompositeKey");
    std::string items = hasKey ? Key("PrimaryKey") : "_ID INTEGER PRIMARY KEY";
    items += hasTwo ? ", " + Key("CompositeKey") : hasKey ? " NOT NULL PRIMARY KEY" : "";
    for (const Entry& column : columns) {
      items += ", " + NameOf(column) + " " + column.value;
    }
    items += hasTwo ? ", PRIMARY KEY(" + At("PrimaryKey") + ", " + At("CompositeKey") + ")" : "";
    return "CREATE TABLE IF NOT EXISTS " + At("Table") + " (" + items + ")";
  }

  // None where the generator throws. A statement of a table alone is the catalogue's.
  Text Sql(const operations::Operation& operation) const {
    static const std::map<std::string, std::string (Model::*)() const> statements = {
        {"Select", &Model::Select}, {"JoinSelect", &Model::JoinSelect},
        {"Delete", &Model::Delete}, {"Upsert", &Model::Upsert},
        {"Update", &Model::Update}, {"CreateTable", &Model::CreateTable}};
    const auto own = statements.find(operation.member);
    try {
      return own != statements.end() ? (this->*own->second)()
                                     : operation.Sql({{"table", At("Table")}});
    } catch (const std::bad_optional_access&) {
      return std::nullopt;
    }
  }

  std::map<std::string, std::array<Text, 2>> fields;
  std::vector<Entry> columns;
  Entries data;
  Entries where;
};

// All requests, filled alike, beside the model.
class Session {
 public:
  Session() {
    for (const operations::Operation& operation : operations::All()) {
      m_requests.emplace_back(&operation, operation.request.make());
    }
  }

  void Set(const InputLine& line) {
    static const std::map<char, const char*> kFields = {{'P', "Path"},       {'T', "Table"},
                                                        {'K', "PrimaryKey"}, {'X', "CompositeKey"},
                                                        {'L', "LeftJoin"},   {'R', "RightJoin"}};
    if (const auto field = kFields.find(line.Letter()); field != kFields.end()) {
      ExpectGenerated(line);
      SetField(field->second, line);
    } else if (line.Letter() == 'C') {
      SetColumnKey(line);
    } else if (line.Letter() == 'd' || line.Letter() == 'w') {
      SetEntry(line);
    }
  }

  void ExpectTexts() {
    for (const auto& [operation, request] : m_requests) {
      if (operation->request.generate) {
        ExpectSql(*operation, *request);
      } else {
        ExpectStoredPath(*request);
      }
    }
  }

 private:
  // The generator takes a path and a table's name as they are given, NULs included.
  static void ExpectGenerated(const InputLine& line) {
    const std::string first = line.Text(0);
    const bool needsSlash = !first.empty() && first.back() != '/';
    std::string path = "before";
    SqlGenerator().GetDBPath(first, line.Text(1), path);
    EXPECT_EQ(first + (needsSlash ? "/" : "") + line.Text(1), path);
    std::string sql = "before";
    SqlGenerator().GetCheckTableSql(first, sql);
    EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='" + first + "'",
              sql);
  }

  // A request leaks a text that is replaced. So each is set once, and null afterwards,
  // which changes nothing.
  void SetField(const std::string& name, const InputLine& line) {
    std::array<Text, 2>& model = m_model.fields[name];
    std::array<const char*, 2> given{};
    for (std::size_t number = 0; number < 2; ++number) {
      if (!model[number]) {
        given[number] = line.Pointer(number);
        model[number] = TextOf(given[number]);
      }
    }
    for (const auto& [operation, request] : m_requests) {
      for (const auto& field : operation->request.fields) {
        if (field.name == name) {
          field.set(*request, given[0], given[1]);
        }
      }
    }
  }

  // The name that its slot has, cut where it is too long; null for the null name.
  const char* NameIn(const InputLine& line, std::size_t field) {
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
    const char* const name = NameIn(line, 0);
    const char* const type = line.Pointer(2);
    if (type == nullptr) {
      return;  // no type at all: nothing is promised
    }
    for (const auto& each : m_requests) {
      if (auto* const create = dynamic_cast<CreateRequest*>(each.second.get())) {
        create->SetColumnKey(name, type);
      }
    }
    m_model.columns.push_back({TextOf(name), type});
  }

  // Calls the setter that the line names.
  void SetEntry(const InputLine& line) {
    const bool isData = line.Letter() == 'd';
    const std::string kind = line.Text(0);
    const char* const name = NameIn(line, 1);
    const char* const text = line.Pointer(3);
    const double real = std::strtod(line.Text(3).c_str(), nullptr);
    Text value;
    for (const auto& each : m_requests) {
      auto* const set = dynamic_cast<BaseSet*>(each.second.get());
      const auto call = [&](auto given) {
        isData ? set->SetData(name, given) : set->SetWhere(name, given);
      };
      if (set == nullptr) {
        continue;
      }
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
    if (value) {
      const std::size_t slot = name == nullptr ? kSlots : line.Index(1, kSlots);
      (isData ? m_model.data : m_model.where).insert({slot, {TextOf(name), *value}});
    }
  }

  void ExpectStoredPath(BasePath& request) {
    const auto& [first, second] = m_model.fields["Path"];
    std::string directory = "before";
    std::string file = "before";
    if (first && second) {
      request.GetPath(directory, file);
    } else {
      EXPECT_THROW(request.GetPath(directory, file), std::logic_error);
    }
    EXPECT_EQ(first.value_or("before"), directory);
    EXPECT_EQ(first ? second.value_or("before") : "before", file);
  }

  // Twice, since a request may be run again.
  void ExpectSql(const operations::Operation& operation, BasePath& request) const {
    const Text expected = m_model.Sql(operation);
    for (int time = 0; time < 2; ++time) {
      std::string sql = "before";
      if (expected) {
        operation.request.generate(request, sql);
      } else {
        EXPECT_THROW(operation.request.generate(request, sql), std::logic_error);
      }
      EXPECT_EQ(expected.value_or("before"), sql);
    }
  }

  // Names of columns at ascending addresses, which live as long as requests read them.
  std::array<std::array<char, 64>, kSlots> m_names{};
  std::array<bool, kSlots> m_isNamed{};
  Model m_model;
  std::vector<std::pair<const operations::Operation*, std::unique_ptr<BasePath>>> m_requests;
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
