# The peers whose libraries are installed become contenders; the others are left out.

# vorn_peer(<name> <found> SOURCE <source> LIBRARIES <library>... [INCLUDE <folder>...])
function(vorn_peer name found)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "SOURCE" "INCLUDE;LIBRARIES")
  if(NOT found)
    message(STATUS "Benchmarks: ${name} is not installed and is left out")
    return()
  endif()
  string(TOUPPER "${name}" suffix)
  target_sources(vorn_contenders PRIVATE ${arg_SOURCE})
  target_compile_definitions(vorn_contenders PRIVATE VORN_BENCH_${suffix})
  target_include_directories(vorn_contenders SYSTEM PRIVATE ${arg_INCLUDE})
  target_link_libraries(vorn_contenders PRIVATE ${arg_LIBRARIES})
endfunction()

find_package(SQLiteCpp QUIET)
vorn_peer(SQLiteCpp "${SQLiteCpp_FOUND}" SOURCE contenders/SqliteCpp.cpp LIBRARIES SQLiteCpp)

find_path(SOCI_INCLUDE_DIR soci/sqlite3/soci-sqlite3.h)
find_library(SOCI_CORE_LIBRARY soci_core)
find_library(SOCI_SQLITE3_LIBRARY soci_sqlite3)
# Its headers need Boost's, which its package does not bring along.
find_path(SOCI_BOOST_INCLUDE_DIR boost/fusion/include/at.hpp)
set(has_soci OFF)
if(SOCI_INCLUDE_DIR AND SOCI_BOOST_INCLUDE_DIR AND SOCI_CORE_LIBRARY AND SOCI_SQLITE3_LIBRARY)
  set(has_soci ON)
endif()
vorn_peer(SOCI "${has_soci}" SOURCE contenders/Soci.cpp
  INCLUDE "${SOCI_INCLUDE_DIR}" "${SOCI_BOOST_INCLUDE_DIR}"
  LIBRARIES "${SOCI_SQLITE3_LIBRARY}" "${SOCI_CORE_LIBRARY}")

find_package(Poco QUIET COMPONENTS Foundation Data DataSQLite)
vorn_peer(Poco "${Poco_FOUND}" SOURCE contenders/Poco.cpp LIBRARIES Poco::DataSQLite Poco::Data)

find_package(Qt5Sql QUIET)
# The driver is loaded at run time, and may be missing where the rest is installed.
find_library(QT_SQLITE_DRIVER qsqlite
  HINTS "${Qt5Sql_DIR}/../.." "${Qt5Sql_DIR}/../../.."
  PATH_SUFFIXES qt5/plugins/sqldrivers plugins/sqldrivers)
set(has_qt OFF)
if(Qt5Sql_FOUND AND QT_SQLITE_DRIVER)
  set(has_qt ON)
endif()
vorn_peer(Qt "${has_qt}" SOURCE contenders/Qt.cpp LIBRARIES Qt5::Sql)
