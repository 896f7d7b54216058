// A file that is there when it is whole, and not before.

#ifndef VORNDB_OUTPUTFILE_H
#define VORNDB_OUTPUTFILE_H

#include <fstream>
#include <string>

namespace vorndb {

class OutputFile {
 public:
  // Writes beside the path, or beside the file that a link leads to. Throws Failure when that
  // cannot be, and, unless it may be written over, when there is a file already.
  OutputFile(const std::string& path, bool overwrite);
  // Removes what was not kept.
  ~OutputFile();

  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::ostream& Stream() { return m_stream; }

  // Puts the file in its place. Throws Failure when it could not be written whole.
  void Keep();

 private:
  std::string m_path;    // as it was given
  std::string m_target;  // the file itself, if that is a link
  std::string m_part;    // what is to be removed, or empty
  std::ofstream m_stream;
};

}  // namespace vorndb

#endif  // VORNDB_OUTPUTFILE_H
