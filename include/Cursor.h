/// @file
/// The result of a query, in memory.

#ifndef VORNDATABASE_CURSOR_H
#define VORNDATABASE_CURSOR_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A result table of text cells with a current row. A query fills it; the application walks the
/// rows and reads cells by column name:
///
/// @code
/// cursor.MoveToFirst();                 // before the first row
/// while (cursor.MoveToNext() == 0) {
///   if (cursor.GetString("name", name) == 0) {
///     std::cout << name << '\n';
///   }
/// }
/// @endcode
///
/// **A result of one column counts one row**, even if it has more cells; only its first row can be
/// reached. Give every table a second column. A result without rows has no columns, and
/// counts -1.
///
/// **Equal column names** share one cell list with two cells per row. Values and row counts of such
/// a column are unspecified; reads stay inside the list.
///
/// All strings are copied in and out. A copy of a cursor is independent of it.
///
/// **Threads.** The constructor, `Initialize`, `SetColumn` and `SetData` hold a named lock of the
/// cursor. Moves and reads take no lock: do not read or move a cursor while another thread fills or
/// moves it. After an exception the platform's library decides whether the lock is released.
///
/// **Log.** The constructor, the destructor, `GetColumn` and the typed reads log their entry;
/// failures are logged as given at the members; a lock without a name is logged, too.
class Cursor {
 public:
  /// Creates an empty cursor, before the first row.
  Cursor();
  /// Releases everything. Takes no lock.
  virtual ~Cursor();

  /// Copies columns, cells and position, without a lock or a log record.
  Cursor(const Cursor&) = default;
  /// Copies columns, cells and position, without a lock or a log record.
  Cursor& operator=(const Cursor&) = default;

  /// @name Filling
  /// @{

  /// Empties the cursor: no columns, no rows, position -1.
  void Initialize();

  /// Declares a column; the name is copied. A name declared again is listed twice by `GetColumn`
  /// and keeps its cells. Throws `std::logic_error` for a null name, and `std::bad_alloc`, the name
  /// perhaps listed without cells.
  void SetColumn(const char* name);

  /// Appends a cell to a column; the value is copied. If the column was never declared, the value
  /// is appended to the list of column names instead. Throws `std::logic_error` for a null
  /// argument, and `std::bad_alloc`, the cursor unchanged.
  void SetData(const char* column, const char* value);
  /// @}

  /// Returns the number of rows: -1 without columns; with one column the length of the list of
  /// column names, normally 1; otherwise the number of cells of the column whose name is second in
  /// byte-wise order.
  int GetCount();

  /// Assigns the column names in the order of declaration and returns 0; returns 1, `columns`
  /// unchanged, if there are none. Throws `std::bad_alloc`.
  int GetColumn(std::vector<std::string>& columns);

  /// @name Moving
  /// @{

  /// Moves before the first row (position -1).
  void MoveToFirst();

  /// Moves behind the last row (position `GetCount()`).
  void MoveToLast();

  /// Moves to the next row and returns 0. If there is none, returns 3, moves to `GetCount()` - 1
  /// (the last row; -2 without columns), and logs "Last Row".
  int MoveToNext();

  /// Moves to the previous row and returns 0. If there is none, returns 2, moves to 0, also without
  /// rows, and logs "First Row".
  int MoveToPrev();

  /// Moves to the row of that number, from 0, and returns 0. If there is none, returns 1, does not
  /// move, and logs "Invalid Position".
  int MoveToPosition(int position);

  /// Returns whether there is a row of that number, from 0.
  bool IsValidPosition(int position);

  /// Returns the position: a row number, -1 before the first row, the row count behind the last
  /// row, or the position that a failed move left.
  int GetPosition();
  /// @}

  /// @name Reading the current row
  /// A typed read stores the value and returns 0. A read that fails leaves `value` unchanged, logs
  /// the reason and returns 1: "NO MATCHED ERROR!!!" for an unknown column (names are
  /// case-sensitive), "CURSOR RANGE ERROR!!!" if the position is on no row or the column lacks the
  /// cell, and the records of a failed conversion. A null column throws `std::logic_error`.
  /// Exhausted memory throws `std::bad_alloc`; while the stream reads a number it is a failed
  /// conversion.
  /// @{

  /// Reads a cell as text.
  int GetString(const char* column, std::string& value);

  /// Reads the integer at the beginning of a cell as a default input stream does, in the global C++
  /// locale: leading white space is skipped, trailing characters are ignored ("42abc" is 42, "3.9"
  /// is 3). Logs "CONVERT TO INT ERROR!!!" if there is none, as in a NULL cell, which is empty, or
  /// if it does not fit an `int`.
  int GetInt(const char* column, int& value);

  /// Reads the number at the beginning of a cell as `GetInt` does. Logs "CONVERT TO DOUBLE ERROR!!!"
  /// if there is none, or if it does not fit a `double`.
  int GetDouble(const char* column, double& value);
  /// @}

  /// Does nothing. Applications call it.
  void ShowDataLog();

 private:
  std::map<std::string, std::vector<std::string>> m_cells;
  std::vector<std::string> m_columns;
  std::int32_t m_position = -1;
};

#endif  // VORNDATABASE_CURSOR_H
