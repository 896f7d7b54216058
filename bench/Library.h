// This library as a contender, with what no other one has.

#ifndef VORNDATABASE_BENCH_LIBRARY_H
#define VORNDATABASE_BENCH_LIBRARY_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Contender.h"

namespace bench {

class Library : public Contender {
 public:
  // Walk over the result and read a column of it. What is answered, the sum of the
  // values or of the texts' lengths, is to be checked.
  virtual std::size_t ReadTexts(const char* column) = 0;
  virtual long long ReadInts(const char* column) = 0;
  virtual double ReadDoubles(const char* column) = 0;

  // Make a request with a value for each of the columns.
  virtual void FillTexts(const std::vector<std::string>& columns) = 0;
  virtual void FillInts(const std::vector<std::string>& columns) = 0;
  virtual void FillDoubles(const std::vector<std::string>& columns) = 0;

  // Calls a member that does nothing but to write its trace line.
  virtual void Trace() = 0;
};

std::unique_ptr<Library> MakeVorn();
// With a lock and a log that do nothing.
std::unique_ptr<Library> MakeQuietVorn();

struct NamedLibrary {
  std::string name;
  std::unique_ptr<Library> (*make)();
};

// Both of them.
const std::vector<NamedLibrary>& Libraries();

}  // namespace bench

#endif  // VORNDATABASE_BENCH_LIBRARY_H
