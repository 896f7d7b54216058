#include "HostileTexts.h"

#include "TestNumbers.h"

std::vector<std::string> HostileTexts(std::size_t number) {
  using namespace std::string_literals;
  constexpr std::size_t kMebibyte = 1024 * 1024;
  static const std::vector<std::string> all = {
      // Nothing hostile: the cases below are not refused for another reason.
      "uid", "contact", "note", "7", "TEXT",
      // Hardly a text.
      "", " ", "\t", "\r\n", "\x01", "\x7f",
      // Quotes and brackets.
      "'", "''", "'''", "\"", "\"\"", "`", "[", "]", "(", ")", "O'Brien", "O''Brien", "say \"hi\"",
      "\"uid\"", "[uid]", "`uid`",
      // Comments and ends of statements.
      ";", ";;", "--", "uid --", "/*", "*/", "/* */", "contact /*", "\\", "\\'",
      // What the library looks for itself.
      " AND", " AND ", "salt AND pepper", ", ", "a, b", "uid, name", "/", "'salt AND", "', ",
      // Reserved and otherwise special names.
      "select", "ORDER", "group", "NULL", "rowid", "sqlite_master", "sqlite_new", "main.contact",
      "temp.contact", "contact.uid", "_ID", "*",
      // Parameters, numbers, formats.
      "?", "?1", ":name", "@name", "$name", "1e999", "0x7f", "-1", "9223372036854775808", "x'00'",
      "%s", "%n%n%n%d", "100%",
      // Conditions and queries.
      "1 OR 1", "' OR '1'='1", "x' OR 1 --", "x' UNION SELECT owner, body FROM note --",
      "' || (SELECT body FROM note) || '", "contact NATURAL JOIN note", "contact AS c",
      // Further statements, some of them good ones.
      "'; DROP TABLE note; --", "x'); DROP TABLE note; --", "contact; DROP TABLE note",
      "contact; DROP TABLE note; --", "uid) VALUES ('9'); DELETE FROM note; --",
      "uid='1'; DELETE FROM note; --", "TEXT); DROP TABLE note; --", "x'; nonsense",
      "uid; nonsense", "x'); INSERT INTO nosuch VALUES (1); --", "x'); BEGIN; DELETE FROM note; --",
      "x'); ROLLBACK; --", "x'); PRAGMA user_version = 7; --", "x'); SELECT 1; --",
      // Encodings: good, overlong, cut off, surrogate, beyond the last, stray.
      "\xc3\xa9", "\xe2\x80\x99", "\xf0\x9f\x98\x80", "\xc0\xa7", "\xe0\x80\xa7", "\xc3",
      "\xf0\x9f", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\x80", "\xfe\xff", "uid\xff", "\xff'",
      // Behind a NUL.
      "uid\0'; DROP TABLE note; --"s, "\0uid"s,
      // Lengthy.
      std::string(kMebibyte, 'a'), std::string(kMebibyte, '\''), std::string(kMebibyte, '\x80')};
  const auto stride = static_cast<std::size_t>(test_numbers::Stride());
  std::vector<std::string> texts;
  for (std::size_t index = number % stride; index < all.size(); index += stride) {
    texts.push_back(all[index]);
  }
  return texts;
}
