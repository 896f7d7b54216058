// The rows of a file that is imported.

#ifndef VORNDB_INPUT_H
#define VORNDB_INPUT_H

#include <cstddef>
#include <functional>
#include <istream>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <streambuf>
#include <string>

#include "Names.h"

namespace vorndb {

class Input : private std::streambuf {
 public:
  using TakeRow = std::function<void(const Pairs&)>;

  // Reads from a stream that lives as long. `name` is for messages. Values of CSV have the
  // separator between them; JSON has none.
  Input(std::istream& source, std::string name, char separator);

  // Throws Failure, with the line, also for a runtime error of `take`: "NAME, line 7: …".
  void EachRow(const TakeRow& take);

  // Those that are named so far, in the order in which they are met.
  const Texts& Columns() const { return m_columns; }
  // Whether a column has texts, even if they look like numbers.
  bool HasTexts(const std::string& column) const { return m_hasTexts.at(column); }

  // The place of the row that is read, or that should begin. A line ends in "\n", "\r\n" or "\r".
  Place Here() const { return m_isInRow ? m_place : After(); }
  // The first place that the row after it can have.
  Place After() const { return m_place.NextIn(m_line); }
  // The number of bytes so far.
  std::size_t Taken() const { return m_taken; }

 private:
  int_type underflow() override;
  // A row begins with the next character, or with the last one of its line.
  void Begin();
  void Take(const Pairs& row, const TakeRow& take);
  void AddColumn(const std::string& name, bool hasTexts);
  bool SkipEmptyLines();
  void ReadCsv(const TakeRow& take);
  void TakeObject(const nlohmann::ordered_json& object, const TakeRow& take);
  void ReadJson(const TakeRow& take);

  std::istream& m_source;
  std::istream m_stream{this};
  std::string m_name;
  char m_separator;
  char m_character = '\0';
  std::size_t m_taken = 0;
  std::size_t m_line = 1;  // at the end of the bytes so far
  Place m_place;
  bool m_isInRow = false;
  std::map<std::string, bool> m_hasTexts;
  Texts m_columns;
};

}  // namespace vorndb

#endif  // VORNDB_INPUT_H
