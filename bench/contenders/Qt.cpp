#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>
#include <atomic>
#include <stdexcept>

#include "contenders/Contenders.h"

namespace bench {

namespace {

// Takes the source of the error, which has to be asked after the call.
template <typename Source>
void Expect(bool isGood, const Source& source) {
  if (!isGood) {
    throw std::runtime_error("Qt: " + source.lastError().text().toStdString());
  }
}

// Where drivers are found; there is one in a process. It stays until the end, since the
// thread that made it may be gone before.
void MakeApplication() {
  static int count = 1;
  static char name[] = "vorn_bench";
  static char* names[] = {name, nullptr};
  static const auto* const application = new QCoreApplication(count, names);
  static_cast<void>(application);
}

// An open connection of a name.
class Opened {
 public:
  Opened(const QString& name, const std::string& path)
      : m_database(QSqlDatabase::database(name, false)) {
    m_database.setDatabaseName(QString::fromStdString(path));
    Expect(m_database.open(), m_database);
  }
  ~Opened() { m_database.close(); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  QSqlQuery Run(const std::string& sql) const {
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    Expect(query.exec(QString::fromStdString(sql)), query);
    return query;
  }

 private:
  QSqlDatabase m_database;
};

// Opening also sets how long a busy file is waited for, to five seconds, and spares the
// connection its mutex; a query also asks for the declared type and the table of each
// column and for the type of each cell. Statements and texts pass as UTF-16.
class QtSql final : public ColumnsContender {
 public:
  QtSql() {
    static std::atomic<int> count{0};
    MakeApplication();
    m_name = "bench" + QString::number(++count);
    QSqlDatabase::addDatabase("QSQLITE", m_name);
  }
  ~QtSql() final { QSqlDatabase::removeDatabase(m_name); }

  void Execute(const std::string& path, const std::string& sql) final {
    const Opened database(m_name, path);
    database.Run(sql);
  }

  void Query(const std::string& path, const std::string& sql) final {
    const Opened database(m_name, path);
    QSqlQuery query = database.Run(sql);
    const std::vector<std::vector<std::string>*> columns = Declare(Names(query));
    while (query.next()) {
      for (std::size_t column = 0; column < columns.size(); ++column) {
        columns[column]->push_back(query.value(static_cast<int>(column)).toString().toStdString());
      }
    }
  }

  int QueryNumber(const std::string& path, const std::string& sql) final {
    const Opened database(m_name, path);
    QSqlQuery query = database.Run(sql);
    return query.next() ? query.value(0).toInt() : 0;
  }

 private:
  static std::vector<std::string> Names(const QSqlQuery& query) {
    const QSqlRecord record = query.record();
    std::vector<std::string> names;
    for (int column = 0; column < record.count(); ++column) {
      names.push_back(record.fieldName(column).toStdString());
    }
    return names;
  }

  QString m_name;
};

}  // namespace

std::unique_ptr<Contender> MakeQt() { return std::make_unique<QtSql>(); }

}  // namespace bench
