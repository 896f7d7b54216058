#include <Poco/Data/RecordSet.h>
#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Session.h>

#include "contenders/Contenders.h"

namespace bench {

namespace {

using Poco::Data::RecordSet;
using Poco::Data::Session;
using Poco::Data::Statement;

// Registered once, before any session.
Session Open(const std::string& path) {
  static const bool isRegistered = [] {
    Poco::Data::SQLite::Connector::registerConnector();
    return true;
  }();
  static_cast<void>(isRegistered);
  return Session(Poco::Data::SQLite::Connector::KEY, path);
}

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

  static void CopyColumn(const RecordSet& records, std::size_t column,
                         std::vector<std::string>& cells) {
    const bool isText = records.columnType(column) == Poco::Data::MetaColumn::FDT_STRING;
    for (std::size_t row = 0; row < records.rowCount(); ++row) {
      cells.push_back(isText ? records.value<std::string>(column, row)
                             : records.value(column, row).convert<std::string>());
    }
  }
};

}  // namespace

std::unique_ptr<Contender> MakePoco() { return std::make_unique<PocoData>(); }

}  // namespace bench
