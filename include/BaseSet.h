/// @file
/// Column values and equality conditions: the base of the row requests.

#ifndef VORNDATABASE_BASESET_H
#define VORNDATABASE_BASESET_H

#include <map>
#include <string>

#include "BasePath.h"

/// Collects the column values that a statement writes (the data map) and the equality conditions
/// that it applies (the where map). Entries are never changed or removed; use a new request for
/// other values.
///
/// **Column names are kept by pointer**, neither copied nor compared:
///
///  1. Keep every column name alive and unchanged until the request has run. One named constant per
///     column is the safe choice. A null name throws `std::logic_error` when the request is run.
///  2. The same name through two pointers makes two entries, and the statement names the column
///     twice.
///  3. Columns appear in a statement in the order of their addresses.
///  4. The first value set through a pointer stays; a later one is ignored.
///
/// **Values are not escaped.** They are copied, and the statement puts them between single quotes:
/// double every single quote in a string value ("O''Brien").
///
/// **Threads.** Each setter holds a named lock of its map: concurrent calls of `SetData` on one
/// object exclude one another, and so do those of `SetWhere`. Reads take no lock, so fill a request
/// completely before it is run. After an exception the platform's library decides whether the lock
/// is released. The only log record is that of a lock without a name.
class BaseSet : public BasePath {
 public:
  /// Column name, by pointer, to value, in ascending order of addresses.
  using ColumnMap = std::map<const char*, std::string>;

  /// Creates a set without values and conditions.
  BaseSet();

  /// Releases all values. Takes no lock.
  ~BaseSet() override;

  /// Adds a column value, unless this very pointer has one. A string is copied up to its NUL. A
  /// number is stored as a default output stream writes it, in the global C++ locale: a double with
  /// **six significant digits** (3.14159265 becomes 3.14159, 1000000.0 becomes 1e+06); pass a
  /// string to keep more. Throws `std::logic_error` for a null value, and `std::bad_alloc`, the map
  /// unchanged.
  void SetData(const char* column, const char* value);
  /// @copydoc SetData(const char*, const char*)
  void SetData(const char* column, int value);
  /// @copydoc SetData(const char*, const char*)
  void SetData(const char* column, double value);

  /// Adds the condition "column equals value", unless this very pointer has one. Conditions are
  /// joined by AND; there is no other operator. Values are stored as by `SetData`, with the same
  /// exceptions.
  void SetWhere(const char* column, double value);
  /// @copydoc SetWhere(const char*, double)
  void SetWhere(const char* column, const char* value);
  /// @copydoc SetWhere(const char*, double)
  void SetWhere(const char* column, int value);

  /// Assigns a copy of the data map. It shares the pointers to column names. Takes no lock. Throws
  /// `std::bad_alloc`.
  void GetDataMap(ColumnMap& columns);

  /// Assigns a copy of the where map, as `GetDataMap` does.
  void GetWhereMap(ColumnMap& columns);

 private:
  ColumnMap m_data;
  ColumnMap m_where;
};

#endif  // VORNDATABASE_BASESET_H
