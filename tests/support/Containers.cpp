#include "Containers.h"

namespace {

// An explicit instantiation may name a private member; the friend hands it out.
template <typename Tag, typename Tag::Type Member>
struct PrivateMember {
  friend typename Tag::Type MemberOf(Tag) { return Member; }
};

struct DataMap {
  using Type = BaseSet::ColumnMap BaseSet::*;
  friend Type MemberOf(DataMap);
};
template struct PrivateMember<DataMap, &BaseSet::m_data>;

struct WhereMap {
  using Type = BaseSet::ColumnMap BaseSet::*;
  friend Type MemberOf(WhereMap);
};
template struct PrivateMember<WhereMap, &BaseSet::m_where>;

struct ColumnKeyList {
  using Type = CreateRequest::ColumnKeys CreateRequest::*;
  friend Type MemberOf(ColumnKeyList);
};
template struct PrivateMember<ColumnKeyList, &CreateRequest::m_columnKeys>;

struct Cells {
  using Type = CellMap Cursor::*;
  friend Type MemberOf(Cells);
};
template struct PrivateMember<Cells, &Cursor::m_cells>;

}  // namespace

BaseSet::ColumnMap& DataMapOf(BaseSet& set) { return set.*MemberOf(DataMap()); }

BaseSet::ColumnMap& WhereMapOf(BaseSet& set) { return set.*MemberOf(WhereMap()); }

CreateRequest::ColumnKeys& ColumnKeysOf(CreateRequest& request) {
  return request.*MemberOf(ColumnKeyList());
}

CellMap& CellMapOf(Cursor& cursor) { return cursor.*MemberOf(Cells()); }
