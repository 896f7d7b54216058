// Every message of the library's log: the only place that has their formats.
//
// Included with VORN_LOG_MESSAGE defined, once for each use of the table:
//
//   VORN_LOG_MESSAGE(name, priority, (format, example arguments), call sites, meaning, remedy)
//
// The example arguments fix the types. Call sites are "FILE: FUNCTION..." separated by
// semicolons. Meaning and remedy are Markdown for the log reference.
// VORN_LOG_CHAPTER(title) begins a chapter of the reference.

// clang-format off

#ifndef VORN_LOG_CHAPTER
#define VORN_LOG_CHAPTER(title)
#endif

VORN_LOG_CHAPTER("Entry of a member")

VORN_LOG_MESSAGE(Entered, kDebug, ("%s::%s(%d) called", kText, kText, kNumber),
  "Database.cpp: Database ~Database Update Delete Upsert CreateTable DropTable Select JoinSelect"
  " CheckExistTable OpenDB;"
  " Cursor.cpp: Cursor ~Cursor GetColumn GetString GetInt GetDouble;"
  " CreateRequest.cpp: CreateRequest ~CreateRequest SetTable GetTable SetPrimaryKey GetPrimaryKey"
  " SetCompositeKey GetCompositeKey SetColumnKey GetColumnKey;"
  " DeleteRequest.cpp: DeleteRequest ~DeleteRequest SetTable GetTable;"
  " DropRequest.cpp: DropRequest ~DropRequest SetTable GetTable;"
  " JoinRequest.cpp: JoinRequest ~JoinRequest SetLeftJoin GetLeftJoin SetRightJoin GetRightJoin;"
  " SelectRequest.cpp: SelectRequest ~SelectRequest SetTable GetTable;"
  " UpdateRequest.cpp: UpdateRequest ~UpdateRequest SetTable GetTable;"
  " UpsertRequest.cpp: UpsertRequest ~UpsertRequest SetTable GetTable",
  "The application has called this member, or the library has called it internally. Source file,"
  " member and line appear twice, so that a reader may filter by either.",
  "Nothing. The order of these records shows the calls of a thread, and the operation to which a"
  " record without a name of its own belongs.")

VORN_LOG_CHAPTER("Opening the file")

VORN_LOG_MESSAGE(Opening, kError, ("DB file: %s %s", kText, kText),
  "Database.cpp: OpenDB",
  "An operation begins to open its file: the directory and the file name, as the application gave"
  " them, separated by a space. **It is no failure.** It is at error level so that a log of"
  " failures names their files.",
  "Nothing. A later record of the same thread has the outcome; a query that succeeds writes none.")

VORN_LOG_MESSAGE(OpenFailed, kError, ("DB open failed. Error no(%d): %s", kNumber, kText),
  "Database.cpp: OpenDB",
  "The file could not be opened; nothing was done. SQLite's code and text follow. SQLite creates a"
  " missing file, but no directory. The content and the write permission of the file are checked"
  " later and reported by the operation.",
  "With 14, check that the directory exists and is writable before the first operation: each failed"
  " open leaks memory. Otherwise act on the code.")

VORN_LOG_MESSAGE(SelectNotOpened, kInfo, ("OpenDB Error: %d", kNumber),
  "Database.cpp: Select",
  "Follows \"DB open failed\" when the operation was a `Select`; no other operation adds a record."
  " The code is the same. It is at info level although it reports a failure.",
  "As for the record before it.")

VORN_LOG_CHAPTER("A busy file")

VORN_LOG_MESSAGE(Busy, kWarning, ("SQLITE BUSY[%d]", kNumber),
  "Database.cpp: IsRetryLimit; DatabasePasrser.cpp: IsRetryLimit",
  "Another process or thread holds the file; the thread sleeps 100 ms and retries. The number"
  " counts the busy attempts of this loop, from 1 to 15. The file name gives the call that is"
  " retried: `Database.cpp` the open, the write or the preparation of a query;"
  " `DatabasePasrser.cpp` the step of a query.",
  "Nothing, if it is rare. If it is frequent, find the holder of the file, and do not call from a"
  " thread that must not wait.")

VORN_LOG_MESSAGE(BusyLimit, kError, ("RETRY COUNT is reached LIMIT, SQLITE_BUSY"),
  "Database.cpp: IsRetryLimit; DatabasePasrser.cpp: IsRetryLimit",
  "The file was busy 16 times in one loop, for some 1.5 s. One last attempt follows at once. If that"
  " is busy too, the operation fails with 5. From `DatabasePasrser.cpp`, the query still returns 0; its"
  " cursor may lack rows, or its table may appear to be missing, even if the last attempt was not"
  " busy.",
  "Find a process that keeps a transaction open or has stopped inside one. Repeat the operation"
  " later; repeat a query whatever it returned.")

VORN_LOG_CHAPTER("Writes")

VORN_LOG_MESSAGE(UpdateSucceeded, kInfo, ("update SUCCESS[%d]", kNumber),
  "Database.cpp: Update",
  "The update is done, also when no row met the conditions. The code is always 0.",
  "Nothing.")

VORN_LOG_MESSAGE(UpdateFailed, kError, ("update FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: Update",
  "The update was refused or failed, with SQLite's code and text. \"incomplete input\" means that no"
  " condition was set.",
  "Act on the code.")

VORN_LOG_MESSAGE(DeleteSucceeded, kInfo, ("delete SUCCESS[%d]", kNumber),
  "Database.cpp: Delete",
  "The rows that met the conditions are deleted, also when there were none; without conditions all"
  " rows are. The code is always 0.",
  "Nothing.")

VORN_LOG_MESSAGE(DeleteFailed, kError, ("delete FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: Delete",
  "The delete was refused or failed, with SQLite's code and text.",
  "Act on the code.")

VORN_LOG_MESSAGE(UpsertSucceeded, kInfo, ("Upsert SUCCESS[%d]", kNumber),
  "Database.cpp: Upsert",
  "The row is written; a row with the same key, or the same value in a UNIQUE column, is replaced."
  " The code is always 0.",
  "Nothing.")

VORN_LOG_MESSAGE(UpsertFailed, kError, ("Upsert FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: Upsert",
  "The row was refused or could not be written, with SQLite's code and text. A text that begins with"
  " \"near\" mostly means that a quote in a value was not doubled.",
  "Act on the code.")

VORN_LOG_MESSAGE(CreateTableSucceeded, kInfo, ("createTable SUCCESS[%d]", kNumber),
  "Database.cpp: CreateTable",
  "The table exists now. One that existed before is unchanged, whatever columns were requested; so"
  " is a view of that name, and then there is no table. The code is always 0.",
  "Nothing.")

VORN_LOG_MESSAGE(CreateTableFailed, kError, ("createTable FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: CreateTable",
  "The table was not created, with SQLite's code and text. With 1 a name or a type is no SQL, or a"
  " column is named twice.",
  "Act on the code.")

VORN_LOG_MESSAGE(DropTableSucceeded, kInfo, ("DropTable SUCCESS[%d]", kNumber),
  "Database.cpp: DropTable",
  "The table and its rows are gone. The code is always 0.",
  "Nothing.")

VORN_LOG_MESSAGE(DropTableFailed, kError, ("DropTable FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: DropTable",
  "The table was not dropped, with SQLite's code and text. \"no such table\" means that there was"
  " none.",
  "Nothing if there was none; otherwise act on the code.")

VORN_LOG_CHAPTER("Queries")

VORN_LOG_MESSAGE(SelectFailed, kError, ("SELECT FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: Select",
  "The statement could not be prepared, with SQLite's code and text. The cursor is unchanged. A"
  " query that is prepared writes no record.",
  "Act on the code.")

VORN_LOG_MESSAGE(JoinSelectFailed, kError, ("JoinSelect FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: JoinSelect",
  "As for `Select`. \"ambiguous column name\" means that a condition names a column that both tables"
  " have.",
  "Act on the code; qualify the column name with the table: `contact.name`.")

VORN_LOG_MESSAGE(CheckExistTableFailed, kError,
  ("CheckExistTable FAILED[%d]: %s", kNumber, kText),
  "Database.cpp: CheckExistTable",
  "As for `Select`; the answer is unchanged.",
  "Act on the code; double the quotes in the table name.")

VORN_LOG_CHAPTER("Rows of a query")

VORN_LOG_MESSAGE(StepFailed, kError, ("SQLITE STEP ERROR!!! %s", kText),
  "DatabasePasrser.cpp: ParseDatabase",
  "A step of a `Select` or `JoinSelect` failed. **The query returns 0 all the same**; the cursor is"
  " truncated. The text is mostly \"SQL logic error\", whatever the cause: a damaged or unreadable"
  " file, or exhausted memory. After \"SQLITE BUSY\" the cause may be another process that has"
  " changed the tables meanwhile.",
  "Do not rely on the rows; repeat the query. If it fails again, check the file (`PRAGMA"
  " integrity_check`), and look for storage errors in the system's log.")

VORN_LOG_MESSAGE(ExistStepFailed, kError, ("SQLITE STEP ERROR!!!"),
  "DatabasePasrser.cpp: ParseExistTable",
  "The same for `CheckExistTable`, without a text. It returns 0 all the same, and the table may"
  " appear to be missing.",
  "Do not rely on the answer; repeat the query. If it fails again, act as for the failed step of a"
  " `Select`.")

VORN_LOG_MESSAGE(UnknownType, kError, ("UNKNOWN TYPE"),
  "DatabasePasrser.cpp: ParseDatabase",
  "A cell of the result is a blob. It is an empty string in the cursor. One record per cell.",
  "Do not store blobs in tables that are read with this library.")

VORN_LOG_CHAPTER("Reading a cursor")

VORN_LOG_MESSAGE(LastRow, kInfo, ("Last Row"),
  "Cursor.cpp: MoveToNext",
  "`MoveToNext` found no further row, as at the end of every loop over a result.",
  "Nothing.")

VORN_LOG_MESSAGE(FirstRow, kInfo, ("First Row"),
  "Cursor.cpp: MoveToPrev",
  "`MoveToPrev` found no row before the current one.",
  "Nothing.")

VORN_LOG_MESSAGE(InvalidPosition, kError, ("Invalid Position"),
  "Cursor.cpp: MoveToPosition",
  "`MoveToPosition` was given a number that no row has. The cursor has not moved.",
  "Compare with `GetCount()` first; it is -1 for a result without rows.")

VORN_LOG_MESSAGE(ColumnUnknown, kError, ("NO MATCHED ERROR!!!"),
  "Cursor.cpp: GetString GetInt GetDouble",
  "The application read a column that the result does not have; names are case-sensitive. A result"
  " without rows has no columns at all.",
  "Check `GetCount() > 0` first; otherwise compare the name with those of `GetColumn`.")

VORN_LOG_MESSAGE(OffRow, kError, ("CURSOR RANGE ERROR!!!"),
  "Cursor.cpp: GetString GetInt GetDouble",
  "The application read a cell while the cursor was on no row: before the first one, where a query"
  " leaves it, or after the last; or the column has no cell for this row.",
  "Call `MoveToNext()` before the first read, and read only while it returns 0.")

VORN_LOG_MESSAGE(NoInt, kError, ("CONVERT TO INT ERROR!!!"),
  "Cursor.cpp: GetInt",
  "The cell does not begin with a number, or begins with one that does not fit an `int`. This"
  " includes NULL, blobs and empty strings. The caller's variable is unchanged.",
  "Read it with `GetString`, or store only whole numbers in the column.")

VORN_LOG_MESSAGE(NoDouble, kError, ("CONVERT TO DOUBLE ERROR!!!"),
  "Cursor.cpp: GetDouble",
  "The cell does not begin with a number, or begins with one that does not fit a `double`. This"
  " includes NULL, blobs and empty strings. The caller's variable is unchanged.",
  "Read it with `GetString`, or store only numbers in the column.")

VORN_LOG_CHAPTER("Names of locks")

VORN_LOG_MESSAGE(LockUnnamed, kError,
  ("Failed to get MUTEX_NAME at %s::%s[%d]", kText, kText, kNumber),
  "BaseSet.cpp: BaseSet SetData SetWhere; CreateRequest.cpp: CreateRequest SetColumnKey;"
  " Cursor.cpp: Cursor Initialize SetColumn SetData",
  "The name of a container's lock could not be formatted; the call site appears twice, as in the"
  " entry of a member. The change was made under a lock of another name, perhaps one that other"
  " threads do not take. With a working C library this does not happen.",
  "Look for a defect of the process: overwritten memory, or a replaced `snprintf`.")

#undef VORN_LOG_MESSAGE
#undef VORN_LOG_CHAPTER
