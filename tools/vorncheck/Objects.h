// Notes about the live requests and cursors of the program. The functions are called in a check;
// a Use makes its own.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_OBJECTS_H
#define VORNDATABASE_TOOLS_VORNCHECK_OBJECTS_H

#include <pthread.h>

#include <string>
#include <utility>
#include <vector>

#include "Stack.h"

namespace vorncheck {

// The places of items in a request. An operation uses some of them.
enum Place : unsigned { kPath = 1, kName = 2, kKey = 4, kType = 8, kData = 16, kWhere = 32 };
constexpr unsigned kEverywhere = ~0U;

struct Item {
  Place place;
  const char* role;
  const char* pointer;  // of a column name, which the request keeps; otherwise null
  std::string name;
  std::string value = {};
  Stack stack = {};  // where it was set
};

// Accesses of two threads at once are in order if both read or both fill.
enum class Access { kRead, kFill, kChange };

// A call of a member.
struct Call {
  const char* name;
  const void* site;
  const void* object;
  Access access;
  pthread_t thread = pthread_self();
};

struct Object {
  std::vector<Call> calls;  // those that run
  std::vector<Item> items;  // of a request
  // Of a cursor: cells that are NULL or a blob (true), by their number in the result, and the
  // memory of the first column, which a copied result does not share.
  std::vector<std::pair<std::size_t, bool>> emptyCells;
  const void* memory = nullptr;
};

Object& ObjectAt(const void* address);
void Forget(const void* address);

// Notes a part, of which the request keeps a copy: a path, a table, a key, a side of a join.
// Reports a part that is set again.
void NotePart(const Call& call, Place place, const char* role, const char* text);

// Notes a column, whose name the request keeps by pointer. Reports a value that is ignored or
// loses digits.
void NoteColumn(const Call& call, Place place, const char* name, const char* value = "");
void NoteColumn(const Call& call, Place place, const char* name, int value);
void NoteColumn(const Call& call, Place place, const char* name, double value);

// In a child that was forked, the calls of other threads do not end.
void ForgetUses();

// A use of an object by this thread, while a member runs. Reports a conflict with another thread.
class Use {
 public:
  explicit Use(const Call& call) noexcept;
  ~Use();

  // Whether there was no conflict when the use began.
  bool IsAlone() const { return m_isAlone; }

 private:
  const Call m_call;
  bool m_isAlone = true;
};

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_OBJECTS_H
