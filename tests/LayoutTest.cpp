// What a host compiled against these headers relies on beyond the names: the
// places of the members and what the members return.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "BaseSet.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DatabaseParser.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;

using Columns = std::map<const char*, std::string>;
using Keys = std::vector<std::pair<const char*, std::string>>;
using Cells = std::map<std::string, std::vector<std::string>>;
constexpr std::size_t kPointer = sizeof(void*);

static_assert(sizeof(BasePath) == 3 * kPointer);
static_assert(sizeof(BaseSet) == sizeof(BasePath) + 2 * sizeof(Columns));
static_assert(sizeof(SelectRequest) == sizeof(BaseSet) + kPointer);
static_assert(sizeof(UpdateRequest) == sizeof(BaseSet) + kPointer);
static_assert(sizeof(UpsertRequest) == sizeof(BaseSet) + kPointer);
static_assert(sizeof(DeleteRequest) == sizeof(BaseSet) + kPointer);
static_assert(sizeof(DropRequest) == sizeof(BasePath) + kPointer);
static_assert(sizeof(JoinRequest) == sizeof(BaseSet) + 4 * kPointer);
static_assert(sizeof(CreateRequest) == sizeof(BasePath) + 5 * kPointer + sizeof(Keys));

// The name that the linker knows does not hold the type of the result.
template <typename Result, typename Class, typename... Args>
constexpr bool Returns(Result (Class::* /*member*/)(Args...)) {
  return true;
}
static_assert(Returns<bool>(&Database::IsRetryLimit));
static_assert(Returns<int>(&Database::OpenDB) && Returns<int>(&Database::Update) &&
              Returns<int>(&Database::Delete) && Returns<int>(&Database::Upsert) &&
              Returns<int>(&Database::CreateTable) && Returns<int>(&Database::DropTable) &&
              Returns<int>(&Database::Select) && Returns<int>(&Database::JoinSelect) &&
              Returns<int>(&Database::CheckExistTable));
static_assert(Returns<bool>(&DatabaseParser::IsRetryLimit) &&
              Returns<int>(&DatabaseParser::ParseDatabase) &&
              Returns<int>(&DatabaseParser::ParseExistTable));
static_assert(Returns<void>(&Cursor::Initialize) && Returns<void>(&Cursor::SetColumn) &&
              Returns<void>(&Cursor::SetData) && Returns<int>(&Cursor::GetCount) &&
              Returns<int>(&Cursor::GetColumn) && Returns<void>(&Cursor::ShowDataLog) &&
              Returns<void>(&Cursor::MoveToFirst) && Returns<void>(&Cursor::MoveToLast) &&
              Returns<int>(&Cursor::MoveToNext) && Returns<int>(&Cursor::MoveToPrev) &&
              Returns<bool>(&Cursor::IsValidPosition) && Returns<int>(&Cursor::MoveToPosition) &&
              Returns<int>(&Cursor::GetPosition) && Returns<int>(&Cursor::GetString) &&
              Returns<int>(&Cursor::GetInt) && Returns<int>(&Cursor::GetDouble));
static_assert(Returns<void>(&BasePath::SetPath) && Returns<void>(&BasePath::GetPath) &&
              Returns<void>(&BaseSet::GetDataMap) && Returns<void>(&BaseSet::GetWhereMap) &&
              Returns<void>(&SqlGenerator::GetDBPath));

// An explicit instantiation may name a private member; the friend hands it out.
template <typename Tag, typename Tag::Type Member>
struct PrivateMember {
  friend typename Tag::Type MemberOf(Tag) { return Member; }
};

#define PRIVATE_MEMBER(Class, Member, ...)  \
  struct Class##_##Member {                 \
    using Type = __VA_ARGS__ Class::*;      \
    friend Type MemberOf(Class##_##Member); \
  };                                        \
  template struct PrivateMember<Class##_##Member, &Class::Member>

PRIVATE_MEMBER(BasePath, m_directory, char*);
PRIVATE_MEMBER(BasePath, m_fileName, char*);
PRIVATE_MEMBER(BaseSet, m_data, Columns);
PRIVATE_MEMBER(BaseSet, m_where, Columns);
PRIVATE_MEMBER(CreateRequest, m_table, char*);
PRIVATE_MEMBER(CreateRequest, m_primaryKeyName, char*);
PRIVATE_MEMBER(CreateRequest, m_primaryKeyType, char*);
PRIVATE_MEMBER(CreateRequest, m_compositeKeyName, char*);
PRIVATE_MEMBER(CreateRequest, m_compositeKeyType, char*);
PRIVATE_MEMBER(CreateRequest, m_columnKeys, Keys);
PRIVATE_MEMBER(JoinRequest, m_leftTable, char*);
PRIVATE_MEMBER(JoinRequest, m_leftColumn, char*);
PRIVATE_MEMBER(JoinRequest, m_rightTable, char*);
PRIVATE_MEMBER(JoinRequest, m_rightColumn, char*);
PRIVATE_MEMBER(Cursor, m_cells, Cells);
PRIVATE_MEMBER(Cursor, m_columns, std::vector<std::string>);
PRIVATE_MEMBER(Cursor, m_position, std::int32_t);

template <typename Object, typename Tag>
std::ptrdiff_t OffsetOf(Object& object, Tag tag) {
  return reinterpret_cast<char*>(&(object.*MemberOf(tag))) - reinterpret_cast<char*>(&object);
}

template <typename Object, typename... Tags>
std::vector<std::size_t> OffsetsOf(Tags... tags) {
  Object object;
  return {static_cast<std::size_t>(OffsetOf(object, tags))...};
}

TEST(LayoutTest, MembersStandInTheirOrder) {
  constexpr std::size_t set = sizeof(BaseSet);
  constexpr std::size_t path = sizeof(BasePath);
  EXPECT_THAT(OffsetsOf<BasePath>(BasePath_m_directory(), BasePath_m_fileName()),
              ElementsAre(kPointer, 2 * kPointer));
  EXPECT_THAT(OffsetsOf<BaseSet>(BaseSet_m_data(), BaseSet_m_where()),
              ElementsAre(path, path + sizeof(Columns)));
  EXPECT_THAT(
      OffsetsOf<CreateRequest>(CreateRequest_m_table(), CreateRequest_m_primaryKeyName(),
                               CreateRequest_m_primaryKeyType(), CreateRequest_m_compositeKeyName(),
                               CreateRequest_m_compositeKeyType(), CreateRequest_m_columnKeys()),
      ElementsAre(path, path + kPointer, path + 2 * kPointer, path + 3 * kPointer,
                  path + 4 * kPointer, path + 5 * kPointer));
  EXPECT_THAT(OffsetsOf<JoinRequest>(JoinRequest_m_leftTable(), JoinRequest_m_leftColumn(),
                                     JoinRequest_m_rightTable(), JoinRequest_m_rightColumn()),
              ElementsAre(set, set + kPointer, set + 2 * kPointer, set + 3 * kPointer));
  EXPECT_THAT(OffsetsOf<Cursor>(Cursor_m_cells(), Cursor_m_columns(), Cursor_m_position()),
              ElementsAre(kPointer, kPointer + sizeof(Cells),
                          kPointer + sizeof(Cells) + sizeof(std::vector<std::string>)));
}

}  // namespace
