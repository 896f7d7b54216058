#include "Library.h"
#include "contenders/Contenders.h"

namespace bench {

const std::vector<NamedContender>& Contenders() {
  static const std::vector<NamedContender> contenders = {
      {"raw", MakeRaw},
      {"get_table", MakeGetTable, true},
#ifdef VORN_BENCH_SQLITECPP
      {"SQLiteCpp", MakeSqliteCpp},
#endif
#ifdef VORN_BENCH_SOCI
      {"SOCI", MakeSoci},
#endif
#ifdef VORN_BENCH_POCO
      {"Poco", MakePoco},
#endif
#ifdef VORN_BENCH_QT
      {"Qt", MakeQt},
#endif
      {"contract", MakeContract, true},
      {"vorn", []() -> std::unique_ptr<Contender> { return MakeVorn(); }},
      {"vorn-quiet", []() -> std::unique_ptr<Contender> { return MakeQuietVorn(); }},
  };
  return contenders;
}

const std::vector<NamedLibrary>& Libraries() {
  static const std::vector<NamedLibrary> libraries = {
      {"vorn", MakeVorn},
      {"vorn-quiet", MakeQuietVorn},
  };
  return libraries;
}

const std::vector<std::string>& LeftOut() {
  static const std::vector<std::string> names = {
#ifndef VORN_BENCH_SQLITECPP
      "SQLiteCpp",
#endif
#ifndef VORN_BENCH_SOCI
      "SOCI",
#endif
#ifndef VORN_BENCH_POCO
      "Poco",
#endif
#ifndef VORN_BENCH_QT
      "Qt",
#endif
  };
  return names;
}

}  // namespace bench
