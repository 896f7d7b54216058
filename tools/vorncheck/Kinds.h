// The kinds of findings.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_KINDS_H
#define VORNDATABASE_TOOLS_VORNCHECK_KINDS_H

#include <cstddef>

namespace vorncheck {

// The identifier, which the guide has as an anchor, and the remedy, by the name of the kind.
#define VORN_KINDS(X)                                                                         \
  X(DanglingName, "dangling-name",                                                            \
    "Keep the name alive and unchanged until the request has run: a constant.")               \
  X(DuplicateName, "duplicate-name", "Pass one pointer per column: a constant.")              \
  X(IgnoredValue, "ignored-value", "Use a new request for other values.")                     \
  X(UnescapedQuote, "unescaped-quote",                                                        \
    "Double every single quote in a value; pass a name in double quotes, a path as it is.")   \
  X(OddIdentifier, "odd-identifier",                                                          \
    "Rename it; or pass it in double quotes, but to CheckExistTable without any.")            \
  X(UnconditionalDelete, "unconditional-delete",                                              \
    "Set a condition, or drop the table if every row has to go.")                             \
  X(CutUpdate, "cut-update", "Set a condition.")                                              \
  X(LostDigits, "lost-digits", "Pass the number as a string.")                                \
  X(LeakedSetter, "leaked-setter", "Set each part once; use a new request for another.")      \
  X(LeakedHandle, "leaked-handle", "Make sure that the directory exists and can be written.") \
  X(TruncatedResult, "truncated-result",                                                      \
    "Compare the row count with the expected one, and query again.")                          \
  X(HiddenRows, "hidden-rows", "Give the table a second column.")                             \
  X(SharedColumn, "shared-column", "Give joined tables distinct column names.")               \
  X(NarrowedRead, "narrowed-read",                                                            \
    "Read the cell as a string and convert it there; keep NULL and blobs out of it.")         \
  X(UnreadFailure, "unread-failure",                                                          \
    "Compare the name with those of the result, and move to a row first.")                    \
  X(BusyWait, "busy-wait", "Keep transactions short; call from a thread that may wait.")      \
  X(ConcurrentChange, "concurrent-change",                                                    \
    "Give each thread its own requests and cursors, or use a mutex.")                         \
  X(MainThread, "main-thread", "Run operations on a thread of their own.")

#define VORN_KIND(name, ...) k##name,
enum class Kind : unsigned char { VORN_KINDS(VORN_KIND) };
#undef VORN_KIND

struct KindText {
  const char* identifier;
  const char* remedy;
};

#define VORN_KIND(name, ...) {__VA_ARGS__},
constexpr KindText kKinds[] = {VORN_KINDS(VORN_KIND)};
#undef VORN_KIND

constexpr std::size_t kKindCount = sizeof kKinds / sizeof kKinds[0];

constexpr const KindText& TextOf(Kind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_KINDS_H
