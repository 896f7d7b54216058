// The rows of a file that is imported.

#ifndef VORNDB_INPUT_H
#define VORNDB_INPUT_H

#include <cstddef>
#include <functional>
#include <istream>
#include <memory>
#include <set>
#include <streambuf>
#include <string>
#include <vector>

#include "Names.h"

namespace vorndb {

struct InputRow {
  Pairs values;
  std::set<std::string> texts = {};  // the columns with texts, even if they look like numbers
};

class Input : private std::streambuf {
 public:
  // Reads from a stream that lives as long. `name` is for messages.
  Input(std::istream& source, std::string name);

  // Throws Failure, with the line, also for a runtime error of `take`: "NAME, line 7: …".
  void EachRow(const std::function<void(const InputRow&)>& take);

  // Those that are named so far, in the order in which they are met.
  const Texts& Columns() const { return m_columns; }

  // The place of the row that is read, or that should begin. A line ends in "\n", "\r\n" or "\r".
  Place Here() const { return m_isInRow ? m_place : m_place.NextIn(m_line); }
  // The first place that the row after it can have.
  virtual Place After() const = 0;
  // The number of bytes so far.
  std::size_t Taken() const { return m_taken; }

 protected:
  // Without values at the end. Throws std::runtime_error.
  virtual InputRow Read() = 0;
  void RequireName(const std::string& column);
  // A row begins with the last character, unless one has begun.
  void Begin();
  void BeginNone() { m_isInRow = false; }
  std::size_t Line() const { return m_line; }  // of the last character
  std::istream& Stream() { return m_stream; }

 private:
  int_type underflow() override;

  std::istream& m_source;
  std::istream m_stream{this};
  bool m_isInRow = false;
  std::string m_name;
  char m_character = '\0';
  std::size_t m_taken = 0;
  std::size_t m_line = 1;
  Place m_place;
  std::set<std::string> m_names;  // that are plain
  Texts m_columns;
};

// By the separator of its values, or 0 for JSON.
std::unique_ptr<Input> MakeInput(std::istream& source, const std::string& name, char separator);

}  // namespace vorndb

#endif  // VORNDB_INPUT_H
