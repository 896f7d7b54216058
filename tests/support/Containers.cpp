#include "Containers.h"

namespace {

// An explicit instantiation may name a private member; the friend hands it out.
template <typename Tag, auto Member>
struct PrivateMember {
  friend decltype(Member) MemberOf(Tag) { return Member; }
};

struct Data {
  friend BaseSet::ColumnMap BaseSet::*MemberOf(Data);
};
struct Where {
  friend BaseSet::ColumnMap BaseSet::*MemberOf(Where);
};
struct Keys {
  friend CreateRequest::ColumnKeys CreateRequest::*MemberOf(Keys);
};
struct Cells {
  friend CellMap Cursor::*MemberOf(Cells);
};

template struct PrivateMember<Data, &BaseSet::m_data>;
template struct PrivateMember<Where, &BaseSet::m_where>;
template struct PrivateMember<Keys, &CreateRequest::m_columnKeys>;
template struct PrivateMember<Cells, &Cursor::m_cells>;

}  // namespace

BaseSet::ColumnMap& DataMapOf(BaseSet& set) { return set.*MemberOf(Data()); }

BaseSet::ColumnMap& WhereMapOf(BaseSet& set) { return set.*MemberOf(Where()); }

CreateRequest::ColumnKeys& ColumnKeysOf(CreateRequest& request) {
  return request.*MemberOf(Keys());
}

CellMap& CellMapOf(Cursor& cursor) { return cursor.*MemberOf(Cells()); }
