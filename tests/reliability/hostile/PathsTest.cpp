// Hostile names of directories and files, and NULs in the texts of those members
// that take strings.

#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "HostileTest.h"
#include "HostileTexts.h"
#include "OperationLines.h"

namespace {

namespace filesystem = std::filesystem;

using fake::Line;
using fake::Trace;
using operations::kFile;
using ::testing::ElementsAre;
using namespace std::string_literals;

class PathsTest : public LibraryTest {
 protected:
  PathsTest() { ForgetEvents(); }

  // A failed open leaves its handle open.
  void TearDown() override {
    sqlite_spy::CloseConnections();
    LibraryTest::TearDown();
  }

  int Create(const std::string& directoryName, const std::string& fileName) {
    ForgetEvents();
    return operations::Call(create, directoryName, fileName,
                            {{"table", "t"}, {"column", "a"}, {"type", "TEXT"}})
        .Run(database);
  }

  // The file is opened, or not, as SQLite opens the path itself.
  int ExpectVerdict(const std::string& directoryName, const std::string& fileName,
                    const std::string& path) {
    const int code = Create(directoryName, fileName);
    EXPECT_TRUE(sqlite_spy::Calls().at(0) == "sqlite3_open(" + path + ")");
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &db), code);
    Strings expected = OpeningLines(create, directoryName, fileName);
    const Strings ending = code == SQLITE_OK ? SuccessLines(create)
                                             : OpenFailureLines(create, code, sqlite3_errmsg(db));
    expected.insert(expected.end(), ending.begin(), ending.end());
    if (code == SQLITE_OK) {
      EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "SELECT * FROM t", nullptr, nullptr, nullptr));
    }
    EXPECT_TRUE(expected == OperationLines());
    sqlite3_close(db);
    return code;
  }

  std::size_t Files() const {
    return static_cast<std::size_t>(std::distance(filesystem::directory_iterator(directory.Path()),
                                                  filesystem::directory_iterator()));
  }

  const operations::Operation& create = operations::Get("CreateTable");
  TemporaryDirectory directory;
  Database database;
  std::error_code error;  // of questions about names that are too long
};

TEST_F(PathsTest, AFileNameIsTakenAsItIs) {
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    const std::string name = UpToNul(text);
    const std::string path = directory.Path() + "/" + name;
    // SQLite drops a slash at the end.
    const std::string opened = path.substr(0, path.find_last_not_of('/') + 1);
    const bool existed = filesystem::exists(opened, error);
    const std::size_t before = Files();
    // One file, of exactly that name, or none.
    const bool isOpened = ExpectVerdict(directory.Path(), name, path) == 0;
    EXPECT_EQ(before + (isOpened && !existed ? 1 : 0), Files());
    EXPECT_EQ(isOpened || existed, filesystem::exists(opened, error));
  }
}

TEST_F(PathsTest, ADirectoryIsTakenAsItIs) {
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    const std::string name = directory.Path() + "/" + UpToNul(text);
    mkdir(name.c_str(), 0700);  // unless it is too long, or there
    const bool endsInSlash = name.back() == '/';
    ExpectVerdict(name, "app.db", name + (endsInSlash ? "" : "/") + "app.db");
  }
}

TEST_F(PathsTest, AnOrdinaryFileNameThatIsTooLongCannotBeOpened) {
  EXPECT_EQ(0, Create(directory.Path(), std::string(240, 'a')));
  EXPECT_EQ(SQLITE_CANTOPEN, Create(directory.Path(), std::string(300, 'a')));
}

// SQLite's own special names, which need an empty directory.
TEST_F(PathsTest, SomeFileNamesMeanNoFile) {
  filesystem::current_path(directory.Path());
  EXPECT_EQ(0, Create("", ":memory:"));
  EXPECT_EQ(0, Create("", ""));
  EXPECT_EQ(0U, Files());
  EXPECT_EQ(0, Create(".", ":memory:"));
  EXPECT_TRUE(filesystem::exists(":memory:"));
}

TEST_F(PathsTest, AUriIsOneWhereSqliteWasBuiltForIt) {
  filesystem::current_path(directory.Path());
  EXPECT_EQ(0, Create("", "file:other.db?mode=rwc"));
  const bool readsUris = sqlite3_compileoption_used("USE_URI") != 0;
  EXPECT_EQ(readsUris, filesystem::exists("other.db"));
  EXPECT_EQ(!readsUris, filesystem::exists("file:other.db?mode=rwc"));
}

// What is handed to SQLite ends at the NUL.
TEST_F(PathsTest, OpenDBOpensThePathUpToItsNul) {
  sqlite3* db = nullptr;
  EXPECT_EQ(0, database.OpenDB(db, directory.Path(), "app.db\0.txt"s));
  EXPECT_THAT(sqlite_spy::Calls(), ElementsAre("sqlite3_open(" + directory.Path() + "/app.db)"));
  EXPECT_THAT(OperationLines(),
              ElementsAre(Trace(kFile, "OpenDB"),
                          Line(6, kFile, "OpenDB", "DB file: " + directory.Path() + " app.db")));
}

// So a NUL in the directory takes the file name away.
TEST_F(PathsTest, OpenDBOpensTheDirectoryUpToItsNul) {
  sqlite3* db = nullptr;
  EXPECT_EQ(SQLITE_CANTOPEN, database.OpenDB(db, directory.Path() + "\0x"s, "app.db"));
  EXPECT_THAT(sqlite_spy::Calls(),
              ElementsAre("sqlite3_open(" + directory.Path() + ")", "sqlite3_errmsg()"));
}

}  // namespace
