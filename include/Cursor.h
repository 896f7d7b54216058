/// @file
/// The result of a query, in memory.

#ifndef VORNDATABASE_CURSOR_H
#define VORNDATABASE_CURSOR_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A result table of text cells with a current row.
///
/// A query empties the cursor and fills it: one `SetColumn` per column when the
/// first row arrives, then one `SetData` per cell, row by row. The caller then
/// walks the rows and reads cells by column name:
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
/// **Row count.** `GetCount` answers -1 without columns, and **1 for a result
/// of exactly one column, whatever the number of its cells**: only the first
/// row of such a result can be reached. Give the table a second column.
///
/// **Equal column names** share one cell list, which then holds two cells per
/// row; what reads of that column, and counts that rest on it, then give is not
/// defined beyond staying inside the list.
///
/// **Ownership.** Every text is copied on its way in and on its way out. Cursors
/// can be copied; copies are independent and no log line is written for copying.
///
/// **Threads.** The constructor, `Initialize`, `SetColumn` and `SetData` exclude
/// one another on one cursor by a named lock. All else reads without a lock: do
/// not read or move a cursor while another thread fills it or moves it.
///
/// **Log.** Trace lines (priority 3) from the constructor, the destructor,
/// `GetColumn` and the typed reads; other lines stand with their members. Should
/// the name of the lock ever fail to be formatted, "Failed to get MUTEX_NAME at
/// %s::%s[%d]" (6) is written and the change is made all the same.
class Cursor {
 public:
  /// Creates an empty cursor, before the first row.
  Cursor();
  /// Releases everything. Takes no lock.
  virtual ~Cursor();

  /// Copies columns, cells and position, without a lock and without a log line.
  Cursor(const Cursor&) = default;
  /// Copies columns, cells and position, without a lock and without a log line.
  /// @return this cursor.
  Cursor& operator=(const Cursor&) = default;

  /// @name Filling
  /// @{

  /// Empties the cursor: no columns, no rows, position -1.
  void Initialize();

  /// Declares a column. A name declared again is listed twice by `GetColumn` and
  /// keeps its cells.
  /// @param name column name, copied.
  /// @throws std::logic_error for a null name.
  /// @throws std::bad_alloc when memory is exhausted.
  void SetColumn(const char* name);

  /// Appends a cell to a column.
  /// @param column column name; a value for a column that was never declared is
  ///        appended to the list of column names instead.
  /// @param value cell text, copied.
  /// @throws std::logic_error for a null argument; the cursor is unchanged.
  /// @throws std::bad_alloc when memory is exhausted; the cursor is unchanged.
  void SetData(const char* column, const char* value);
  /// @}

  /// Counts the rows.
  /// @return -1 without columns; the length of the column-name list, so normally
  ///         1, with exactly one column; otherwise the number of cells of the
  ///         column that comes second in byte-wise order of the names.
  int GetCount();

  /// Copies the column names out, in the order of declaration.
  /// @param[out] columns is replaced by the copy.
  /// @return 0; or 1, with `columns` untouched, when there are none.
  int GetColumn(std::vector<std::string>& columns);

  /// @name Moving
  /// @{

  /// Goes before the first row (position -1).
  void MoveToFirst();

  /// Goes behind the last row (position `GetCount()`).
  void MoveToLast();

  /// Goes to the next row.
  /// @return 0; or 3 when there is none: the position is then `GetCount()` - 1,
  ///         so the last row (-2 without columns), and the log has "Last Row" (4).
  int MoveToNext();

  /// Goes to the previous row.
  /// @return 0; or 2 when there is none: the position is then 0, also without
  ///         rows, and the log has "First Row" (4).
  int MoveToPrev();

  /// Goes to a row.
  /// @param position row number, from 0.
  /// @return 0; or 1 when there is no such row: the position is then unchanged
  ///         and the log has "Invalid Position" (6).
  int MoveToPosition(int position);

  /// Tells whether there is a row of that number.
  /// @param position row number, from 0.
  /// @return true when there is.
  bool IsValidPosition(int position);

  /// Tells the current position.
  /// @return a row number, -1 before the first row, the row count behind the last
  ///         one, or what a move that failed left.
  int GetPosition();
  /// @}

  /// @name Reading the current row
  /// Each returns 0 with the value stored, or 1 with the value untouched and a
  /// line at priority 6: "NO MATCHED ERROR!!!" for an unknown column (names are
  /// case-sensitive), else "CURSOR RANGE ERROR!!!" when the position is not on a
  /// row, else the line of the conversion. A null column name throws
  /// `std::logic_error`, an exhausted heap `std::bad_alloc`; where memory ends
  /// within the stream that reads a number, that is a failed conversion.
  /// @{

  /// Reads a cell as text.
  /// @param column column name.
  /// @param[out] value receives the text.
  /// @return 0; or 1, with `value` untouched and a line in the log.
  int GetString(const char* column, std::string& value);

  /// Reads the integer that the cell begins with, as a default input stream
  /// does: leading blanks are skipped and what follows the number is ignored
  /// ("42abc" is 42, "3.9" is 3). "CONVERT TO INT ERROR!!!" when there is none or
  /// it does not fit an `int`; so for NULL cells, which are empty.
  /// @param column column name.
  /// @param[out] value receives the integer.
  /// @return 0; or 1, with `value` untouched and a line in the log.
  int GetInt(const char* column, int& value);

  /// Reads the number that the cell begins with, as a default input stream does.
  /// "CONVERT TO DOUBLE ERROR!!!" when there is none or it does not fit a
  /// `double`.
  /// @param column column name.
  /// @param[out] value receives the number.
  /// @return 0; or 1, with `value` untouched and a line in the log.
  int GetDouble(const char* column, double& value);
  /// @}

  /// Does nothing; kept for the hosts that call it.
  void ShowDataLog();

 private:
  std::map<std::string, std::vector<std::string>> m_cells;
  std::vector<std::string> m_columns;
  std::int32_t m_position = -1;
};

#endif  // VORNDATABASE_CURSOR_H
