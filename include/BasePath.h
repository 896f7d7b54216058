/// @file
/// The location of a database file: the root of every request class.

#ifndef VORNDATABASE_BASEPATH_H
#define VORNDATABASE_BASEPATH_H

#include <string>

/// Names the database file that a request runs against, as a directory and a
/// file name.
///
/// Every request class derives from it, so a caller normally meets it through
/// `request.SetPath(directory, fileName)`. A plain `BasePath` is enough for
/// `Database::CheckExistTable`.
///
/// **Ownership.** The object keeps private copies of both texts; the caller's
/// buffers may be freed or changed as soon as `SetPath` returns. Objects cannot
/// be copied: a copy would release the same texts twice.
///
/// **Threads.** Nothing is locked. Setting the path on one thread and running
/// the request on another must be ordered by the caller.
///
/// **Log.** None.
class BasePath {
 public:
  /// Creates a location with neither part set.
  BasePath();

  /// Releases the copies that are held.
  virtual ~BasePath();

  BasePath(const BasePath&) = delete;
  BasePath& operator=(const BasePath&) = delete;

  /// Stores copies of the directory and the file name.
  ///
  /// @param directory directory of the database file, NUL-terminated, with or
  ///        without a trailing "/"; null leaves the directory as it was. The
  ///        empty text is valid: the path is then relative to the process's
  ///        working directory.
  /// @param fileName name of the database file, NUL-terminated; null leaves the
  ///        file name as it was.
  /// @warning Set each part once. A repeated call replaces the text but never
  ///          releases the earlier copy, which stays allocated for the life of
  ///          the process.
  /// @throws std::bad_alloc when memory is exhausted.
  void SetPath(const char* directory, const char* fileName);

  /// Reads both parts back, replacing whatever the arguments held.
  ///
  /// @param[out] directory receives the directory.
  /// @param[out] fileName receives the file name.
  /// @throws std::logic_error when a part was never set. The directory is
  ///         assigned before the file name is read, so it has already been
  ///         assigned when only the file name is missing.
  /// @throws std::bad_alloc when memory is exhausted.
  void GetPath(std::string& directory, std::string& fileName);

 private:
  char* m_directory = nullptr;
  char* m_fileName = nullptr;
};

#endif  // VORNDATABASE_BASEPATH_H
