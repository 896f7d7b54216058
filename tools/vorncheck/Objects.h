// Notes about the live requests and cursors of the program.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_OBJECTS_H
#define VORNDATABASE_TOOLS_VORNCHECK_OBJECTS_H

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Stack.h"

namespace vorncheck {

// A column name that a request keeps by pointer, and the value that was set with it.
struct Note {
  std::string name;
  std::string value;
  Stack stack;
};

using Notes = std::map<const char*, Note>;
using Keys = std::vector<std::pair<const char*, Note>>;

// The access of a member to its object. Accesses of two threads at once are in order if both read
// or both fill.
enum class Access { kRead, kFill, kChange };

struct Using {
  const void* thread;
  int number;  // of the thread
  Access access;
  const char* symbol;
  const void* site;
};

struct Object {
  std::vector<Using> uses;
  // Of a BaseSet.
  Notes data;
  Notes where;
  // Of a CreateRequest.
  Keys keys;
  // Where the other parts of a request were set, by the members that hold them.
  std::map<const void*, Stack> parts;
  // Of a Cursor: cells that are NULL or a blob (true), by their number in the result, and the
  // memory of the first column, which a copied result does not share.
  std::vector<std::pair<std::size_t, bool>> emptyCells;
  const void* memory = nullptr;
};

// The notes of an object, locked.
class LockedObject {
 public:
  explicit LockedObject(const void* address);
  Object& operator*() { return *m_object; }
  Object* operator->() { return m_object; }

 private:
  std::unique_lock<std::mutex> m_lock;
  Object* m_object;
};

void Forget(const void* object);

// A use of an object by this thread, while a member runs. Reports a use by another thread that it
// excludes.
class Use {
 public:
  Use(const void* object, Access access, const char* symbol, const void* site) noexcept;
  ~Use();
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

  // Whether no other thread uses the object so that its content may change.
  bool IsAlone() const { return m_isAlone; }

 private:
  const void* const m_object;
  bool m_isAlone = true;
};

// Held by the thread that forks, so that the child can use them.
void LockObjects();
void UnlockObjects();

// In a child that was forked, only one thread is left.
void ForgetUses();

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_OBJECTS_H
