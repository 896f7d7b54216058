// What happens to a caller who does not make a value safe: further statements in a
// value are run by the operations that write, and ignored by those that read.

#include <string>

#include "HostileTest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StatementsTest : public HostileTest {
 protected:
  // With this as value of contact.uid.
  Verdict Upsert(const std::string& value) { return Expect("Upsert", "value", value); }
  Verdict Select(const std::string& value) { return Expect("SelectWhere", "whereValue", value); }
};

TEST_F(StatementsTest, AnUpsertRunsWhatItsValueAdds) {
  EXPECT_EQ(0, Upsert("9'); DROP TABLE note; --").code);
  EXPECT_THAT(Tables(), ElementsAre("contact"));
  EXPECT_THAT(Contacts(), ElementsAre("1", "2", "9"));
}

TEST_F(StatementsTest, AnUpdateRunsWhatItsValueAdds) {
  EXPECT_EQ(0, Expect("Update", "whereValue", "1'; DROP TABLE note; --").code);
  EXPECT_THAT(Tables(), ElementsAre("contact"));
}

TEST_F(StatementsTest, ADeleteRunsWhatItsValueAdds) {
  EXPECT_EQ(0, Expect("Delete", "whereValue", "1'; DROP TABLE note; --").code);
  EXPECT_THAT(Tables(), ElementsAre("contact"));
  EXPECT_THAT(Contacts(), ElementsAre("2"));
}

TEST_F(StatementsTest, ADeleteTakesEveryRowWhenItsValueSaysSo) {
  EXPECT_EQ(0, Expect("Delete", "whereValue", "' OR '1'='1").code);
  EXPECT_THAT(Contacts(), IsEmpty());
}

TEST_F(StatementsTest, ACreationRunsWhatItsTypeAdds) {
  EXPECT_EQ(0, Expect("CreateTableWithoutKey", "type", "TEXT); DROP TABLE note; --").code);
  EXPECT_THAT(Tables(), ElementsAre("contact", "device"));
}

TEST_F(StatementsTest, ADropRunsWhatItsTableAdds) {
  EXPECT_EQ(0, Expect("DropTable", "table", "contact; DROP TABLE note").code);
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
  EXPECT_EQ(0, Expect("CheckExistTable", "table", "nosuch' OR '1'='1").code);
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

// The whole text is the unit of the retry policy.
TEST_F(StatementsTest, ABusyTextIsRunAgainFromItsFirstStatement) {
  UpsertRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetData("uid", "9'); INSERT INTO note (body) VALUES ('more'); --");
  sqlite_spy::Script("sqlite3_exec", {sqlite_spy::RealButAnswer(SQLITE_BUSY)});
  EXPECT_EQ(0, database.Upsert(request));
  EXPECT_THAT(file.Rows("SELECT count(*) FROM note WHERE body = 'more'"), ElementsAre("2"));
}

}  // namespace
