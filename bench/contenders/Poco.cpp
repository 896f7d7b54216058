#include <Poco/Data/RecordSet.h>
#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Session.h>

#include <deque>

#include "contenders/Contenders.h"

namespace bench {

namespace {

using Poco::Data::RecordSet;
using Poco::Data::Session;

// Registered once, before any session.
Session Open(const std::string& path) {
  static const bool isRegistered = [] {
    Poco::Data::SQLite::Connector::registerConnector();
    return true;
  }();
  static_cast<void>(isRegistered);
  return Session(Poco::Data::SQLite::Connector::KEY, path);
}

// Opening also lets the path be a URI and sets how long a busy file is waited for, to a
// minute; a query also asks for the declared type of each column and the type of each cell.
class PocoData final : public ColumnsContender {
 public:
  void Execute(const std::string& path, const std::string& sql) final {
    Session session = Open(path);
    session << sql, Poco::Data::Keywords::now;
  }

  // The library keeps a result of its own, from which it is copied.
  void Query(const std::string& path, const std::string& sql) final {
    Session session = Open(path);
    const RecordSet records(session, sql);
    const std::vector<std::vector<std::string>*> columns = Declare(Names(records));
    for (std::size_t column = 0; column < columns.size(); ++column) {
      CopyColumn(records, column, *columns[column]);
    }
  }

  int QueryNumber(const std::string& path, const std::string& sql) final {
    Session session = Open(path);
    int number = 0;
    session << sql, Poco::Data::Keywords::into(number), Poco::Data::Keywords::now;
    return number;
  }

 private:
  static std::vector<std::string> Names(const RecordSet& records) {
    std::vector<std::string> names;
    for (std::size_t column = 0; column < records.columnCount(); ++column) {
      names.push_back(records.columnName(column));
    }
    return names;
  }

  // A column is looked up once, not once for each cell.
  static void CopyColumn(const RecordSet& records, std::size_t column,
                         std::vector<std::string>& cells) {
    if (records.columnType(column) == Poco::Data::MetaColumn::FDT_STRING) {
      const auto& texts = records.column<std::deque<std::string>>(column);
      cells.assign(texts.begin(), texts.end());
      return;
    }
    for (const Poco::Int64 number : records.column<std::deque<Poco::Int64>>(column)) {
      cells.push_back(std::to_string(number));
    }
  }
};

}  // namespace

std::unique_ptr<Contender> MakePoco() { return std::make_unique<PocoData>(); }

}  // namespace bench
