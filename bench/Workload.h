// The files that are worked on, and what has to be in them and in every result.

#ifndef VORNDATABASE_BENCH_WORKLOAD_H
#define VORNDATABASE_BENCH_WORKLOAD_H

#include <cstdint>
#include <string>

#include "Contender.h"

namespace bench {

// The shape of a file for queries of a whole table.
struct Shape {
  int rows = 0;
  int columns = 0;
  int tables = 1;  // in the schema
};

// The table that such queries read.
constexpr const char* kWholeTable = "whole";

// Makes the file in the folder, unless it is there.
Place WholeTable(const std::string& folder, const Shape& shape);
// A copy of a file beside it.
Place CopyOf(const Place& place, const std::string& name);
// What a query of the whole table gives.
Columns WholeResult(const Shape& shape);
// The hash of that, made without it: large blocks change how the heap deals with others.
std::uint64_t WholeHash(const Shape& shape);

// The contacts of the single operations.
constexpr int kContacts = 100;
constexpr int kPresent = 50;  // one of them
Contact PresentContact();

// Makes a file with the tables "contact" and "note" of that name, anew.
Place ContactFile(const std::string& folder, const std::string& name);
// The contents of the table.
Columns AllContacts(const Place& place);
// The results of the queries for the contact that is present.
Columns ContactResult();
Columns NotesResult();

// A hash of all names and cells.
std::uint64_t HashOf(const Columns& columns);

}  // namespace bench

#endif  // VORNDATABASE_BENCH_WORKLOAD_H
