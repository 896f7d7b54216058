// The kinds of findings.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_KINDS_H
#define VORNDATABASE_TOOLS_VORNCHECK_KINDS_H

#include <cstddef>

namespace vorncheck {

enum class Kind : unsigned char {
  kDanglingName,
  kDuplicateName,
  kIgnoredValue,
  kUnescapedQuote,
  kOddIdentifier,
  kUnconditionalDelete,
  kCutUpdate,
  kLostDigits,
  kLeakedSetter,
  kLeakedHandle,
  kTruncatedResult,
  kHiddenRows,
  kSharedColumn,
  kNarrowedRead,
  kUnreadFailure,
  kBusyWait,
  kConcurrentChange,
  kMainThread,
};

struct KindText {
  const char* identifier;
  const char* remedy;
  const char* section;  // of the guide
};

// In the order of Kind.
constexpr KindText kKinds[] = {
    {"dangling-name", "Keep the name alive and unchanged until the request has run: a constant.",
     "who-keeps-column-names-alive-and-in-which-order-do-columns-come-out"},
    {"duplicate-name", "Pass one pointer per column: a constant.",
     "who-keeps-column-names-alive-and-in-which-order-do-columns-come-out"},
    {"ignored-value", "Use a new request for other values.", "why-does-the-first-value-stay"},
    {"unescaped-quote",
     "Double every single quote in a value; pass a name in double quotes, a path as it is.",
     "values-and-names-that-are-not-your-own"},
    {"odd-identifier",
     "Rename it; or pass it in double quotes, but to CheckExistTable without any.", "names"},
    {"unconditional-delete", "Set a condition, or drop the table if every row has to go.",
     "what-happens-without-any-condition"},
    {"cut-update", "Set a condition.", "what-happens-without-any-condition"},
    {"lost-digits", "Pass the number as a string.",
     "why-do-doubles-lose-digits-and-how-are-they-kept"},
    {"leaked-setter", "Set each part once; use a new request for another.",
     "why-does-the-first-value-stay"},
    {"leaked-handle", "Make sure that the directory exists and can be written.",
     "what-stays-open-after-a-failed-open"},
    {"truncated-result", "Compare the row count with the expected one, and query again.",
     "what-does-result-0-of-a-query-promise"},
    {"hidden-rows", "Give the table a second column.", "what-is-wrong-with-a-result-of-one-column"},
    {"shared-column", "Give joined tables distinct column names.",
     "what-if-joined-tables-have-equal-column-names"},
    {"narrowed-read",
     "Read the cell as a string and convert it there; keep NULL and blobs out of it.",
     "how-do-null-blobs-and-empty-texts-arrive"},
    {"unread-failure", "Compare the name with those of the result, and move to a row first.",
     "walk-a-result"},
    {"busy-wait", "Keep transactions short; call from a thread that may wait.",
     "what-does-a-busy-file-cost"},
    {"concurrent-change", "Give each thread its own requests and cursors, or use a mutex.",
     "many-threads"},
    {"main-thread", "Run operations on a thread of their own.", "what-does-a-busy-file-cost"},
};

constexpr std::size_t kKindCount = sizeof kKinds / sizeof kKinds[0];

static_assert(kKindCount == static_cast<std::size_t>(Kind::kMainThread) + 1);

constexpr const KindText& TextOf(Kind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_KINDS_H
