// The kinds of findings.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_KINDS_H
#define VORNDATABASE_TOOLS_VORNCHECK_KINDS_H

#include <cstddef>

namespace vorncheck {

// The identifier, the remedy and the section of the guide, by the name of the kind.
#define VORN_KINDS(X)                                                                         \
  X(DanglingName, "dangling-name",                                                            \
    "Keep the name alive and unchanged until the request has run: a constant.",               \
    "who-keeps-column-names-alive-and-in-which-order-do-columns-come-out")                    \
  X(DuplicateName, "duplicate-name", "Pass one pointer per column: a constant.",              \
    "who-keeps-column-names-alive-and-in-which-order-do-columns-come-out")                    \
  X(IgnoredValue, "ignored-value", "Use a new request for other values.",                     \
    "why-does-the-first-value-stay")                                                          \
  X(UnescapedQuote, "unescaped-quote",                                                        \
    "Double every single quote in a value; pass a name in double quotes, a path as it is.",   \
    "values-and-names-that-are-not-your-own")                                                 \
  X(OddIdentifier, "odd-identifier",                                                          \
    "Rename it; or pass it in double quotes, but to CheckExistTable without any.", "names")   \
  X(UnconditionalDelete, "unconditional-delete",                                              \
    "Set a condition, or drop the table if every row has to go.",                             \
    "what-happens-without-any-condition")                                                     \
  X(CutUpdate, "cut-update", "Set a condition.", "what-happens-without-any-condition")        \
  X(LostDigits, "lost-digits", "Pass the number as a string.",                                \
    "why-do-doubles-lose-digits-and-how-are-they-kept")                                       \
  X(LeakedSetter, "leaked-setter", "Set each part once; use a new request for another.",      \
    "why-does-the-first-value-stay")                                                          \
  X(LeakedHandle, "leaked-handle", "Make sure that the directory exists and can be written.", \
    "what-stays-open-after-a-failed-open")                                                    \
  X(TruncatedResult, "truncated-result",                                                      \
    "Compare the row count with the expected one, and query again.",                          \
    "what-does-result-0-of-a-query-promise")                                                  \
  X(HiddenRows, "hidden-rows", "Give the table a second column.",                             \
    "what-is-wrong-with-a-result-of-one-column")                                              \
  X(SharedColumn, "shared-column", "Give joined tables distinct column names.",               \
    "what-if-joined-tables-have-equal-column-names")                                          \
  X(NarrowedRead, "narrowed-read",                                                            \
    "Read the cell as a string and convert it there; keep NULL and blobs out of it.",         \
    "how-do-null-blobs-and-empty-texts-arrive")                                               \
  X(UnreadFailure, "unread-failure",                                                          \
    "Compare the name with those of the result, and move to a row first.", "walk-a-result")   \
  X(BusyWait, "busy-wait", "Keep transactions short; call from a thread that may wait.",      \
    "what-does-a-busy-file-cost")                                                             \
  X(ConcurrentChange, "concurrent-change",                                                    \
    "Give each thread its own requests and cursors, or use a mutex.", "many-threads")         \
  X(MainThread, "main-thread", "Run operations on a thread of their own.",                    \
    "what-does-a-busy-file-cost")

#define VORN_KIND(name, ...) k##name,
enum class Kind : unsigned char { VORN_KINDS(VORN_KIND) };
#undef VORN_KIND

struct KindText {
  const char* identifier;
  const char* remedy;
  const char* section;
};

#define VORN_KIND(name, ...) {__VA_ARGS__},
constexpr KindText kKinds[] = {VORN_KINDS(VORN_KIND)};
#undef VORN_KIND

constexpr std::size_t kKindCount = sizeof kKinds / sizeof kKinds[0];

constexpr const KindText& TextOf(Kind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_KINDS_H
