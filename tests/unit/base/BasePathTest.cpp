#include "BasePath.h"

#include <stdexcept>
#include <string>
#include <type_traits>

#include "LibraryTest.h"

namespace {

static_assert(!std::is_copy_constructible_v<BasePath> && !std::is_copy_assignable_v<BasePath>,
              "a copy would release the same texts twice");
static_assert(std::has_virtual_destructor_v<BasePath>);

class BasePathTest : public LibraryTest {
 protected:
  void ExpectPath(const std::string& expectedDirectory, const std::string& expectedFileName) {
    path.GetPath(directory, fileName);
    EXPECT_EQ(expectedDirectory, directory);
    EXPECT_EQ(expectedFileName, fileName);
  }
  void ExpectThrowWith(const std::string& expectedDirectory) {
    EXPECT_THROW(path.GetPath(directory, fileName), std::logic_error);
    EXPECT_EQ(expectedDirectory, directory);
    EXPECT_EQ("old file", fileName);
  }
  BasePath path;
  std::string directory = "old directory";
  std::string fileName = "old file";
};

TEST_F(BasePathTest, CopiesTheCallersTexts) {
  char directoryBuffer[] = "/opt/data";
  char fileBuffer[] = "app.db";
  path.SetPath(directoryBuffer, fileBuffer);
  directoryBuffer[1] = fileBuffer[0] = 'X';
  ExpectPath("/opt/data", "app.db");
}

TEST_F(BasePathTest, ANullArgumentLeavesItsText) {
  path.SetPath(nullptr, "app.db");
  path.SetPath("/opt", nullptr);
  path.SetPath(nullptr, nullptr);
  ExpectPath("/opt", "app.db");
}

TEST_F(BasePathTest, UnsetFileNameThrowsAfterAssigningTheDirectory) {
  path.SetPath("/opt/data", nullptr);
  ExpectThrowWith("/opt/data");
}

TEST_F(BasePathTest, UnsetDirectoryThrowsBeforeAssigningAnything) {
  ExpectThrowWith("old directory");
  path.SetPath(nullptr, "app.db");
  ExpectThrowWith("old directory");
}

TEST_F(BasePathTest, EmptyTextsAreValid) {
  path.SetPath("", "");
  ExpectPath("", "");
}

TEST_F(BasePathTest, NeitherLogsNorLocks) {
  {
    BasePath other;
    other.SetPath("/a", "b");
    other.GetPath(directory, fileName);
  }
  EXPECT_THAT(journal::Of({journal::Kind::kLog, journal::Kind::kLogger, journal::Kind::kMutex}),
              ::testing::IsEmpty());
}

}  // namespace
