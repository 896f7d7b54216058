/// @file
/// The location of a database file: the root of every request class.

#ifndef VORNDATABASE_BASEPATH_H
#define VORNDATABASE_BASEPATH_H

#include <string>

/// Names the database file of a request, as a directory and a file name. Every request class
/// derives from it; a plain `BasePath` is enough for `Database::CheckExistTable`.
///
/// It holds copies of both strings, which the destructor releases; therefore it cannot be copied.
/// Nothing is locked: do not set the path on one thread while another runs the request. Nothing is
/// logged.
class BasePath {
 public:
  /// Creates a location with neither part set.
  BasePath();

  /// Releases both copies.
  virtual ~BasePath();

  BasePath(const BasePath&) = delete;
  BasePath& operator=(const BasePath&) = delete;

  /// Stores copies of the directory, with or without a trailing "/", and of the file name. An empty
  /// directory makes the path relative to the working directory; null leaves a part as it was. Set
  /// each part once: a repeated call leaks the earlier copy. Throws `std::bad_alloc`, the directory
  /// perhaps set.
  void SetPath(const char* directory, const char* fileName);

  /// Assigns both parts. Throws `std::logic_error` if a part was never set; if that is the file
  /// name, `directory` is already assigned. Throws `std::bad_alloc`.
  void GetPath(std::string& directory, std::string& fileName);

 private:
  char* m_directory = nullptr;
  char* m_fileName = nullptr;
};

#endif  // VORNDATABASE_BASEPATH_H
