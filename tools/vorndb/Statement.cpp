#include "Statement.h"

#include "BaseSet.h"

namespace vorndb {

void SetValues(BaseSet& request, const std::vector<Assignment>& values, const NameBlock& names) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    request.SetData(names[i], Quoted(values[i].value).c_str());
  }
}

void SetConditions(BaseSet& request, const std::vector<Assignment>& where, const NameBlock& names) {
  for (std::size_t i = 0; i < where.size(); ++i) {
    request.SetWhere(names[i], Quoted(where[i].value).c_str());
  }
}

}  // namespace vorndb
