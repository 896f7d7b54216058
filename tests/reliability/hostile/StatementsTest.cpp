// Values that a caller does not make safe: further statements in a value are run by the
// operations that write, and ignored by those that read.

#include <string>

#include "Containers.h"
#include "HostileTest.h"

namespace {

using ::testing::ElementsAre;

class StatementsTest : public HostileTest {
 protected:
  // Runs a case of the catalogue with another text on fresh tables.
  void ExpectContents(const std::string& name, const std::string& slot, const std::string& text,
                      const Strings& contents) {
    StartAfresh();
    EXPECT_EQ(0, Expect(name, slot, text).code);
    EXPECT_EQ(contents, operations::Contents(file)) << name;
  }
  // Upserts with this as value of contact.uid. The contact 9 is written in any case.
  void ExpectUpserted(const std::string& value, int code, const std::string& message) {
    StartAfresh();
    const Answer answer = Expect("Upsert", "value", value);
    EXPECT_EQ(code, answer.code);
    EXPECT_EQ(message, answer.message);
    EXPECT_THAT(Contacts(), ElementsAre("1", "2", "9"));
    EXPECT_THAT(Tables(), ElementsAre("contact", "note"));
  }
  CellMap Selected(const std::string& value) {
    const CellMap cells = Expect("SelectWhere", "whereValue", value).cells;
    EXPECT_TRUE(IsUntouched());
    return cells;
  }
  static CellMap Rows(const Strings& uids, const Strings& names) {
    return {{"uid", uids}, {"name", names}};
  }
};

TEST_F(StatementsTest, AWriteRunsTheStatementsInAText) {
  ExpectContents("Upsert", "value", "9'); DROP TABLE note; --",
                 {"contact", "1|Kim", "2|Lee", "9|NULL"});
  ExpectContents("Update", "whereValue", "1'; DROP TABLE note; --", {"contact", "1|Ann", "2|Lee"});
  ExpectContents("Delete", "whereValue", "1'; DROP TABLE note; --", {"contact", "2|Lee"});
  ExpectContents("CreateTableWithoutKey", "type", "TEXT); DROP TABLE note; --",
                 {"contact", "1|Kim", "2|Lee", "device"});
  ExpectContents("DropTable", "table", "contact; DROP TABLE note", {});
}

TEST_F(StatementsTest, ADeleteTakesEveryRowWhenItsValueSaysSo) {
  ExpectContents("Delete", "whereValue", "' OR '1'='1",
                 {"contact", "note", "10|1|first", "11|1|second", "12|2|third"});
}

TEST_F(StatementsTest, AQueryIgnoresAllButItsFirstStatement) {
  EXPECT_EQ(Rows({"1"}, {"Kim"}), Selected("1'; DROP TABLE note; --"));
  EXPECT_EQ(Rows({"1"}, {"Kim"}), Selected("1'; nonsense"));
}

// It changes nothing, but shows rows that it was not asked for.
TEST_F(StatementsTest, AQueryShowsOtherTablesWhenItsValueSaysSo) {
  EXPECT_EQ(Rows({"2"}, {"third"}),
            Selected("' UNION SELECT owner, body FROM note WHERE id = 12 --"));
  EXPECT_EQ(Rows({"1", "2"}, {"Kim", "Lee"}), Selected("' OR '1'='1"));
}

TEST_F(StatementsTest, ATableExistsWhenItsNameSaysSo) {
  EXPECT_EQ(0, Expect("CheckExistTable", "table", "nosuch' OR '1'='1").code);
  EXPECT_TRUE(exists);
}

// Every statement is one transaction, unless they say otherwise.
TEST_F(StatementsTest, AStatementBeforeOneThatFailsIsKept) {
  ExpectUpserted("9'); INSERT INTO nosuch VALUES (1); DROP TABLE note; --", SQLITE_ERROR,
                 "no such table: nosuch");
  ExpectUpserted("9'); nonsense; --", SQLITE_ERROR, "near \"nonsense\": syntax error");
  ExpectUpserted("9'); INSERT INTO contact VALUES ('1', 'again'); --", SQLITE_CONSTRAINT,
                 "UNIQUE constraint failed: contact.uid");
}

TEST_F(StatementsTest, ATransactionThatIsLeftOpenIsRolledBackAndStillASuccess) {
  ExpectUpserted("9'); BEGIN; DELETE FROM contact; --", SQLITE_OK, "");
}

// The whole text is the unit of the retry policy.
TEST_F(StatementsTest, ABusyTextIsRunAgainFromItsFirstStatement) {
  sqlite_spy::Script("sqlite3_exec", {sqlite_spy::RealButAnswer(SQLITE_BUSY)});
  operations::Call upsert(operations::Get("Upsert"), file,
                          operations::Get("Upsert").PlainTexts().With(
                              "value", "9'); INSERT INTO note (body) VALUES ('more'); --"));
  EXPECT_EQ(0, upsert.Run(database));
  EXPECT_THAT(file.Rows("SELECT count(*) FROM note WHERE body = 'more'"), ElementsAre("2"));
}

}  // namespace
