#include <CreateRequest.h>
#include <Cursor.h>
#include <Database.h>
#include <DeleteRequest.h>
#include <DropRequest.h>
#include <JoinRequest.h>
#include <SelectRequest.h>
#include <UpdateRequest.h>
#include <UpsertRequest.h>

#include <optional>
#include <stdexcept>

#include "Library.h"

namespace bench {

namespace {

constexpr const char* kUid = "uid";
constexpr const char* kName = "name";
constexpr const char* kPhone = "phone";
constexpr const char* kMail = "mail";
constexpr const char* kAge = "age";

void Expect(int code) {
  if (code != 0) {
    throw std::runtime_error("the operation failed with " + std::to_string(code));
  }
}

template <typename Request>
void Locate(Request& request, const Place& place) {
  request.SetPath(place.directory.c_str(), place.file.c_str());
}

// As an application would: a request, a database, and for a query a cursor, all made
// for the call.
class Vorn final : public Library {
 public:
  void CreateContact(const Place& place) final {
    CreateRequest request;
    Locate(request, place);
    request.SetTable("contact");
    request.SetPrimaryKey(kUid, "INTEGER");
    request.SetColumnKey(kName, "TEXT");
    request.SetColumnKey(kPhone, "TEXT");
    request.SetColumnKey(kMail, "TEXT");
    request.SetColumnKey(kAge, "INTEGER");
    Expect(Database().CreateTable(request));
  }

  void DropContact(const Place& place) final {
    DropRequest request;
    Locate(request, place);
    request.SetTable("contact");
    Expect(Database().DropTable(request));
  }

  void UpsertContact(const Place& place, const Contact& contact) final {
    UpsertRequest request;
    Locate(request, place);
    request.SetTable("contact");
    request.SetData(kUid, contact.uid);
    request.SetData(kName, contact.name);
    request.SetData(kPhone, contact.phone);
    request.SetData(kMail, contact.mail);
    request.SetData(kAge, contact.age);
    Expect(Database().Upsert(request));
  }

  void UpdateName(const Place& place, const char* uid, const char* name) final {
    UpdateRequest request;
    Locate(request, place);
    request.SetTable("contact");
    request.SetData(kName, name);
    request.SetWhere(kUid, uid);
    Expect(Database().Update(request));
  }

  void DeleteContact(const Place& place, const char* uid) final {
    DeleteRequest request;
    Locate(request, place);
    request.SetTable("contact");
    request.SetWhere(kUid, uid);
    Expect(Database().Delete(request));
  }

  bool HasTable(const Place& place, const char* table) final {
    BasePath path;
    Locate(path, place);
    bool exists = false;
    Expect(Database().CheckExistTable(path, table, exists));
    return exists;
  }

  void SelectContact(const Place& place, const char* uid) final {
    SelectRequest request;
    Locate(request, place);
    request.SetTable("contact");
    request.SetWhere(kUid, uid);
    Expect(Database().Select(request, m_cursor.emplace()));
  }

  void JoinNotes(const Place& place, const char* uid) final {
    JoinRequest request;
    Locate(request, place);
    request.SetLeftJoin("contact", kUid);
    request.SetRightJoin("note", "owner");
    request.SetWhere(kUid, uid);
    Expect(Database().JoinSelect(request, m_cursor.emplace()));
  }

  void SelectAll(const Place& place, const char* table) final {
    SelectRequest request;
    Locate(request, place);
    request.SetTable(table);
    Expect(Database().Select(request, m_cursor.emplace()));
  }

  void Release() final { m_cursor.reset(); }

  Columns Result() final {
    Columns result;
    std::vector<std::string> names;
    m_cursor->GetColumn(names);
    m_cursor->MoveToFirst();
    while (m_cursor->MoveToNext() == 0) {
      for (const std::string& name : names) {
        std::string cell;
        Expect(m_cursor->GetString(name.c_str(), cell));
        result[name].push_back(cell);
      }
    }
    return result;
  }

  std::size_t ReadTexts(const char* column) final {
    return Read<std::size_t>([column](Cursor& cursor, std::size_t& sum) {
      std::string value;
      Expect(cursor.GetString(column, value));
      sum += value.size();
    });
  }

  long long ReadInts(const char* column) final {
    return Read<long long>([column](Cursor& cursor, long long& sum) {
      int value = 0;
      Expect(cursor.GetInt(column, value));
      sum += value;
    });
  }

  double ReadDoubles(const char* column) final {
    return Read<double>([column](Cursor& cursor, double& sum) {
      double value = 0;
      Expect(cursor.GetDouble(column, value));
      sum += value;
    });
  }

  void FillTexts(const std::vector<std::string>& columns) final { Fill(columns, "1234567"); }

  void FillInts(const std::vector<std::string>& columns) final { Fill(columns, 1234567); }

  void FillDoubles(const std::vector<std::string>& columns) final { Fill(columns, 12345.67); }

  void Trace() final { m_request.GetTable(m_text); }

 private:
  template <typename Sum, typename Add>
  Sum Read(Add add) {
    Sum sum{};
    m_cursor->MoveToFirst();
    while (m_cursor->MoveToNext() == 0) {
      add(*m_cursor, sum);
    }
    return sum;
  }

  template <typename Value>
  static void Fill(const std::vector<std::string>& columns, Value value) {
    UpsertRequest request;
    for (const std::string& column : columns) {
      request.SetData(column.c_str(), value);
    }
  }

  std::optional<Cursor> m_cursor;
  SelectRequest m_request;  // without a table
  std::string m_text;
};

}  // namespace

std::unique_ptr<Library> MakeVorn() { return std::make_unique<Vorn>(); }

}  // namespace bench
