/// @file
/// Column values and equality conditions: the base of the row requests.

#ifndef VORNDATABASE_BASESET_H
#define VORNDATABASE_BASESET_H

#include <map>
#include <string>

#include "BasePath.h"

/// Collects the column values that a statement writes (the data map) and the
/// equality conditions that it applies (the where map).
///
/// **Column names are kept by pointer.** A column's key in a map is the
/// caller's pointer itself; its text is neither copied nor compared. Hence:
///
///  1. Keep every column name alive and unchanged until the request has been
///     run. One named constant per column is the safe choice.
///  2. The same name through two different pointers makes two entries, and the
///     statement then names that column twice.
///  3. Columns appear in a statement in the order of their addresses, neither
///     in the order of the calls nor alphabetically.
///  4. The first value set through a pointer stays; setting it again through
///     the same pointer is silently ignored.
///
/// Values, in contrast, are copied as text when they are set.
///
/// **Lifecycle.** A set is filled, then run, any number of times. Entries are
/// never changed or removed; use a new request for other values.
///
/// **Threads.** Each change runs under a named lock of its own map: concurrent
/// `SetData` calls on one object wait for each other, and so do concurrent
/// `SetWhere` calls, while a `SetData` and a `SetWhere` do not. Reads take no
/// lock, so fill a request completely before running it.
///
/// **Log.** "Failed to get MUTEX_NAME at %s::%s[%d]" (priority 6) should the
/// name of a lock ever fail to be formatted; the change is made all the same.
/// Nothing else.
class BaseSet : public BasePath {
 public:
  /// Column name, by pointer, to value text, in ascending address order.
  using ColumnMap = std::map<const char*, std::string>;

  /// Creates a set without values or conditions.
  BaseSet();

  /// Releases all values. Takes no lock.
  ~BaseSet() override;

  /// Adds one column value to the data map, unless this very pointer already has
  /// one.
  ///
  /// @param column column name; kept by pointer (see the class).
  /// @param value the value, stored as text: a text as it is up to its NUL, a
  ///        number as a default output stream writes it, that is an integer in
  ///        plain decimal and a double with **six significant digits**
  ///        (3.14159265 becomes 3.14159, 1000000.0 becomes 1e+06). Pass a text
  ///        to keep more digits. A host that sets the global C++ locale changes
  ///        how numbers are written.
  /// @throws std::logic_error for a null text value; the map is unchanged.
  /// @throws std::bad_alloc when memory is exhausted; the map is unchanged.
  void SetData(const char* column, const char* value);
  /// @copydoc SetData(const char*, const char*)
  void SetData(const char* column, int value);
  /// @copydoc SetData(const char*, const char*)
  void SetData(const char* column, double value);

  /// Adds one condition "column equals value" to the where map, unless this very
  /// pointer already has one. Conditions are joined by AND; there is no other
  /// operator. Text forms and exceptions are those of `SetData`.
  ///
  /// @param column column name; kept by pointer (see the class).
  /// @param value the value, stored as text.
  void SetWhere(const char* column, double value);
  /// @copydoc SetWhere(const char*, double)
  void SetWhere(const char* column, const char* value);
  /// @copydoc SetWhere(const char*, double)
  void SetWhere(const char* column, int value);

  /// Copies the data map out. The copy shares the caller's column-name pointers.
  /// Takes no lock.
  ///
  /// @param[out] columns is replaced by the copy.
  void GetDataMap(ColumnMap& columns);

  /// Copies the where map out. The copy shares the caller's column-name pointers.
  /// Takes no lock.
  ///
  /// @param[out] columns is replaced by the copy.
  void GetWhereMap(ColumnMap& columns);

 private:
  ColumnMap m_data;
  ColumnMap m_where;
};

#endif  // VORNDATABASE_BASESET_H
