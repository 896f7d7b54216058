// Reads a private data member, where a test must know what is behind an address.
//
//   struct Cells { using Type = …; friend Type MemberOf(Cells); };
//   template struct PrivateMember<Cells, &Cursor::m_cells>;
//   … cursor.*MemberOf(Cells()) …

#ifndef VORN_TESTS_SUPPORT_PRIVATEMEMBER_H
#define VORN_TESTS_SUPPORT_PRIVATEMEMBER_H

template <typename Tag, typename Tag::Type Member>
struct PrivateMember {
  friend typename Tag::Type MemberOf(Tag) { return Member; }
};

#endif  // VORN_TESTS_SUPPORT_PRIVATEMEMBER_H
