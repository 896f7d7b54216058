// The sharp edges of docs/guide.md, each as a function that prints what happens.

#ifndef GUIDE_EDGES_EDGES_H
#define GUIDE_EDGES_EDGES_H

#include <stdexcept>
#include <string>

#include "Cursor.h"

constexpr char kFile[] = "edges.db";

// Columns of most tables here.
constexpr char kName[] = "name";
constexpr char kPhone[] = "phone";

inline void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

template <typename Request>
void Address(Request& request, const char* table) {
  request.SetPath(".", kFile);
  request.SetTable(table);
}

inline std::string Text(Cursor& cursor, const char* column) {
  std::string text;
  Check(cursor.GetString(column, text), std::string("read ") + column);
  return text;
}

void Lifetime();
void Order();
void FirstValue();
void Texts();
void Attack();
void Doubles();
void Integers();
void Conditions();
void Cut();
void OneColumn();
void EqualNames();
void EmptyCells();
void ResultZero();
void FailedOpen();
void Paths();
void Exceptions();

#endif  // GUIDE_EDGES_EDGES_H
