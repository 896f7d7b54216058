// What happens to a caller who does not make a value safe: further statements in a
// value are run by the operations that write, and ignored by those that read.

#include <string>

#include "ContactTest.h"
#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kName[] = "name";

class StatementsTest : public ContactTest {
 protected:
  // Of a value for contact.uid.
  Verdict Delete(const std::string& value) {
    DeleteRequest request;
    Address(request, "contact");
    request.SetWhere(kUid, value.c_str());
    return ExpectVerdict(kDelete, "DELETE  FROM contact WHERE uid='" + value + "'",
                         [&] { return database.Delete(request); });
  }
  Strings Contacts() { return file.Rows("SELECT uid FROM contact ORDER BY uid"); }
};

TEST_F(StatementsTest, AnUpsertRunsWhatItsValueAdds) {
  EXPECT_EQ(0, Upsert("9'); DROP TABLE note; --").code);
  EXPECT_THAT(Tables(), ElementsAre("contact"));
  EXPECT_THAT(Contacts(), ElementsAre("1", "2", "9"));
}

TEST_F(StatementsTest, AnUpdateRunsWhatItsValueAdds) {
  UpdateRequest request;
  Address(request, "contact");
  request.SetData(kName, "Ann");
  request.SetWhere(kUid, "1'; DROP TABLE note; --");
  EXPECT_EQ(0, ExpectVerdict(kUpdate,
                             "UPDATE contact SET name = 'Ann' WHERE uid='1'; DROP TABLE note; --'",
                             [&] { return database.Update(request); })
                   .code);
  EXPECT_THAT(Tables(), ElementsAre("contact"));
}

TEST_F(StatementsTest, ADeleteRunsWhatItsValueAdds) {
  EXPECT_EQ(0, Delete("1'; DROP TABLE note; --").code);
  EXPECT_THAT(Tables(), ElementsAre("contact"));
  EXPECT_THAT(Contacts(), ElementsAre("2"));
}

TEST_F(StatementsTest, ADeleteTakesEveryRowWhenItsValueSaysSo) {
  EXPECT_EQ(0, Delete("' OR '1'='1").code);
  EXPECT_THAT(Contacts(), IsEmpty());
}

TEST_F(StatementsTest, ACreationRunsWhatItsTypeAdds) {
  CreateRequest request;
  Address(request, "more");
  request.SetColumnKey(kName, "TEXT); DROP TABLE note; --");
  EXPECT_EQ(0,
            ExpectVerdict(kCreateTable,
                          "CREATE TABLE IF NOT EXISTS more (_ID INTEGER PRIMARY KEY, name TEXT); "
                          "DROP TABLE note; --)",
                          [&] { return database.CreateTable(request); })
                .code);
  EXPECT_THAT(Tables(), ElementsAre("contact", "more"));
}

TEST_F(StatementsTest, ADropRunsWhatItsTableAdds) {
  DropRequest request;
  Address(request, "contact; DROP TABLE note");
  EXPECT_EQ(0, ExpectVerdict(kDropTable, "DROP TABLE contact; DROP TABLE note", [&] {
                 return database.DropTable(request);
               }).code);
  EXPECT_THAT(Tables(), IsEmpty());
}

TEST_F(StatementsTest, AQueryIgnoresWhatFollowsItsFirstStatement) {
  EXPECT_THAT(Select("1'; DROP TABLE note; --").rows, ElementsAre(ElementsAre("1", "Kim")));
  EXPECT_THAT(Select("1'; nonsense").rows, ElementsAre(ElementsAre("1", "Kim")));
  EXPECT_TRUE(IsUntouched());
}

// It changes nothing, and yet gives away what it was not asked for.
TEST_F(StatementsTest, AQueryShowsOtherTablesWhenItsValueSaysSo) {
  EXPECT_THAT(Select("' UNION SELECT owner, body FROM note WHERE id = 12 --").rows,
              ElementsAre(ElementsAre("2", "third")));
  EXPECT_THAT(Select("' OR '1'='1").rows,
              ElementsAre(ElementsAre("1", "Kim"), ElementsAre("2", "Lee")));
  EXPECT_TRUE(IsUntouched());
}

TEST_F(StatementsTest, ATableExistsWhenItsNameSaysSo) {
  BasePath path;
  file.Locate(path);
  const Verdict verdict = ExpectVerdict(
      kCheckExistTable,
      "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='nosuch' OR '1'='1'",
      [&] { return database.CheckExistTable(path, "nosuch' OR '1'='1", exists); });
  EXPECT_EQ(0, verdict.code);
  EXPECT_TRUE(exists);
}

// Every statement is one transaction, unless they say otherwise.
TEST_F(StatementsTest, WhatPrecedesAFailedStatementStays) {
  const Verdict verdict = Upsert("9'); INSERT INTO nosuch VALUES (1); DROP TABLE note; --");
  EXPECT_EQ(SQLITE_ERROR, verdict.code);
  EXPECT_EQ("no such table: nosuch", verdict.message);
  EXPECT_THAT(Contacts(), ElementsAre("1", "2", "9"));
  EXPECT_THAT(Tables(), ElementsAre("contact", "note"));
}

TEST_F(StatementsTest, WhatPrecedesASyntaxErrorStays) {
  const Verdict verdict = Upsert("9'); nonsense; --");
  EXPECT_EQ(SQLITE_ERROR, verdict.code);
  EXPECT_EQ("near \"nonsense\": syntax error", verdict.message);
  EXPECT_THAT(Contacts(), ElementsAre("1", "2", "9"));
}

TEST_F(StatementsTest, AConstraintInALaterStatementIsReported) {
  const Verdict verdict = Upsert("9'); INSERT INTO contact VALUES ('1', 'again'); --");
  EXPECT_EQ(SQLITE_CONSTRAINT, verdict.code);
  EXPECT_EQ("UNIQUE constraint failed: contact.uid", verdict.message);
  EXPECT_THAT(Contacts(), ElementsAre("1", "2", "9"));
}

TEST_F(StatementsTest, ATransactionThatIsLeftOpenIsRolledBackAndStillASuccess) {
  EXPECT_EQ(0, Upsert("9'); BEGIN; DELETE FROM contact; --").code);
  EXPECT_THAT(Contacts(), ElementsAre("1", "2", "9"));
}

// The whole text is the unit of the busy rule.
TEST_F(StatementsTest, ABusyTextIsRunAgainFromItsFirstStatement) {
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kUid, "9'); INSERT INTO note (body) VALUES ('more'); --");
  sqlite_spy::Script("sqlite3_exec", {sqlite_spy::RealButAnswer(SQLITE_BUSY)});
  EXPECT_EQ(0, database.Upsert(request));
  EXPECT_THAT(file.Rows("SELECT count(*) FROM note WHERE body = 'more'"), ElementsAre("2"));
}

}  // namespace
