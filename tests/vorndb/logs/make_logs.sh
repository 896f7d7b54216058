#!/usr/bin/env bash
# How the logs beside it were captured; run again, it captures them anew, with other processes
# and other places where the library has changed. What explain-log makes of them is then to be
# read and kept, too:
#
#   tests/vorndb/logs/make_logs.sh
#
# captured_*.log   from standard error, in the form of the stub
# form_*.log       the captured failures in the forms of a device's log reader
# made_*.log       written by hand
set -euo pipefail
export LC_ALL=C
cd "$(dirname "${BASH_SOURCE[0]}")/../../.."
logs=$PWD/tests/vorndb/logs
build=$PWD/build/release
cmake --preset release
cmake --build --preset release --target vorndatabase timezone_picker
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
g++ -std=c++17 -Wall -Wextra -I include -I platform/vornutil -I tests/support \
  "$logs/Scenarios.cpp" tests/support/{ChildProcess,Operations,TemporaryDatabase}.cpp \
  -o "$work/scenarios" -lgtest -L "$build/src" -L "$build/platform" -lvorndatabase -lvornutil -lsqlite3 \
  -pthread -Wl,-rpath,"$build/src:$build/platform"

# In a fresh directory, so that no path is in the log.
capture() { # NAME PRIORITY COMMAND...
  local directory=$work/$1 name=$1 priority=$2
  shift 2
  mkdir "$directory"
  (
    cd "$directory"
    prepare
    VORN_DLOG_PRIORITY=$priority "$@" 2>"$logs/captured_$name.log" >/dev/null
  )
}

prepare() {
  mkdir 'my data'
  printf 'no database %d\n' {1..100} >other.txt
  sqlite3 photos.db "CREATE TABLE contact(uid, name, photo);
    INSERT INTO contact VALUES(1, 'Kim', x'00'), (2, 'Lee', x'01')"
  sqlite3 damaged.db "CREATE TABLE contact(uid, name); CREATE TABLE more(a);
    WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000)
    INSERT INTO contact SELECT i, 'Kim' FROM n"
  # The pages behind the first ones are gone; the schema stays.
  dd if=/dev/zero of=damaged.db bs=4096 seek=4 count=4 conv=notrunc status=none
  mkdir zoneinfo
  printf 'CI\tIvory Coast\nCW\tCuracao\n' >zoneinfo/iso3166.tab
  printf 'CI\t+0519-00402\tAfrica/Abidjan\nCW\t+1211-06900\tAmerica/Curacao\n' >zoneinfo/zone.tab
}

capture tour D "$work/scenarios" tour
capture failures D "$work/scenarios" failures
capture failures_info I "$work/scenarios" failures
capture failures_errors E "$work/scenarios" failures
capture busy W "$work/scenarios" busy
capture busy_errors E "$work/scenarios" busy
capture crowd D "$work/scenarios" crowd
capture killed D "$work/scenarios" killed
capture protected D "$work/scenarios" --protected tour
capture protected_failures I "$work/scenarios" --protected failures
capture protected_errors E "$work/scenarios" --protected busy
capture picker D "$build/examples/timezone_picker/timezone_picker" --keep CI . zoneinfo

# "E VORN 4711 4712 TEXT" as other readers write it. Continued lines stay as they are.
convert() { # NAME PREFIX [LOG]
  sed -E "s,^([DIWE]) VORN ([0-9]+) ([0-9]+) ,$2," \
    "$logs/captured_${3:-failures_info}.log" >"$logs/form_$1.log"
}
convert brief '\1/VORN(\2): '
convert brief_wide '\1/VORN    ( \2): '
convert thread '\1(\2:\3) '
convert threadtime '11-21 10:00:00.123  \2  \3 \1 VORN: '
convert threadtime_named '11-21 10:00:00.123+0100 P \2 T \3 \1 VORN: '
convert bare ''
convert bare_protected '' protected
