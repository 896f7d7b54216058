#!/usr/bin/env bash
# Runs the example timezone_picker, as it is, on a system whose locks, writes or syncs
# fail: strace answers in the system's place. What the library logs and returns, and
# what is left in the file, is compared with the run without failures.
#
# Usage: strace_test.sh CASE PROGRAM
set -euo pipefail
export LC_ALL=C
unset VORN_DLOG_PRIORITY

readonly skipped=77

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

[[ $# -eq 2 ]] || fail "usage: $0 CASE PROGRAM"
readonly test_case=$1
[[ -x $2 ]] || fail "$2 is no program"
program=$(realpath "$2")
type -P sqlite3 >/dev/null || fail "the sqlite3 shell is needed"
if [[ -z $(type -P strace) ]]; then
  echo "skipped: there is no strace"
  exit $skipped
fi
if ! denied=$(strace -e trace=none true 2>&1); then
  echo "skipped: strace may not trace here: $denied"
  exit $skipped
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly program work
readonly database=$work/data/timezones.db
mkdir "$work/zoneinfo"
printf '%s\t%s\n' CI "Côte d'Ivoire" CW Curaçao >"$work/zoneinfo/iso3166.tab"
printf '%s\t%s\t%s\n' CI +0519-00402 Abidjan CW +1211-06900 Curacao >"$work/zoneinfo/zone.tab"

# --- Running ---------------------------------------------------------------------

# What SQLite does to the files. The names depend on the machine and on how SQLite was
# built; one of each kind is used.
readonly lock_calls=(fcntl fcntl64)
readonly write_calls=(pwrite64 pwrite)
readonly sync_calls=(fdatasync fsync)
readonly delete_calls=(unlink unlinkat)

# What is traced: that, as far as strace knows it here, and the writing of the log.
calls=write$(printf ',?%s' "${lock_calls[@]}" "${write_calls[@]}" "${sync_calls[@]}" \
  "${delete_calls[@]}")
readonly calls

# run [STRACE-ARGUMENT...]: leaves $status, $work/out, the log in $work/log and the
# calls in $work/calls.
run() {
  rm -rf "$work/data"
  mkdir "$work/data"
  status=0
  strace --follow-forks --decode-fds=path --string-limit=200 --signal=none --trace="$calls" \
    "$@" --output="$work/calls" "$program" --keep CI "$work/data" "$work/zoneinfo" \
    >"$work/out" 2>"$work/stderr" || status=$?
  # Processes and source lines are not compared.
  sed -E 's/^([A-Z]) VORN [0-9]+ [0-9]+ (.*)\([0-9]+\) > /\1 \2(#) > /; s/\([0-9]+\) called$/(#) called/' \
    "$work/stderr" >"$work/log"
}

run_without_failures() {
  run
  expect_equal "exit status" 0 "$status"
  mv "$work/out" "$work/good_out"
  mv "$work/log" "$work/good_log"
  mv "$work/calls" "$work/good_calls"
}

# use NAME...: chooses the $call that is to fail, the one of these names that the run
# without failures makes.
use() {
  for call in "$@"; do
    if grep -qF " $call(" "$work/good_calls"; then
      return 0
    fi
  done
  echo "skipped: what is to fail is not called here: $*"
  exit $skipped
}

# run_with_failures ERROR FIRST [COUNT]: of $call those from the one of number FIRST on
# fail, COUNT of them, or all when it is "+"; one, if it is left out.
run_with_failures() {
  local count=${3:-1} when=$2+ failed
  [[ $count == + ]] || when=$2..$(($2 + count - 1))
  run --inject="$call:error=$1:when=$when"
  failed=$(grep -c ' (INJECTED)$' "$work/calls" || true)
  [[ $failed == "$count" || ($count == + && $failed -ge 1) ]] ||
    fail "$failed calls of $call failed instead of $count"
}

# number_of OPERATION ARGUMENTS [N]: in the run without failures, the number of the Nth
# $call whose text matches ARGUMENTS after the operation's first line, such as "Upsert 3"
# for the third upsert.
number_of() {
  local member=${1% *} nth=${1#* } number
  number=$(awk -v call=" $call(" -v start="Database.cpp: $member(" -v nth="$nth" -v pattern="$2" \
    -v wanted="${3:-1}" '
    index($0, " write(2<") && index($0, start) && / called/ { ++started }
    index($0, call) { ++number; if (started >= nth && $0 ~ pattern && !--wanted) { print number; exit } }
    ' "$work/good_calls")
  [[ -n $number ]] || fail "the good run has no call ${3:-1} of $call like '$2' in $1"
  echo "$number"
}

# With the first lock of an attempt refused, the attempt has nothing to undo.
readonly first_lock='F_RDLCK.*l_start=1073741824,'

# The operation that fails below: the second zone is the fourth row.
readonly write='Upsert 4'

# --- Comparing -------------------------------------------------------------------

expect_equal() { # WHAT EXPECTED ACTUAL
  if [[ $2 != "$3" ]]; then
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3") >&2 || true
    fail "$1: differs as above (< expected, > found)"
  fi
}

sql() {
  sqlite3 -batch -init /dev/null "$database" "$1"
}

busy_lines() { # SOURCE WARNINGS
  local count
  for ((count = 1; count <= $2; ++count)); do
    echo "W $1: IsRetryLimit(#) > SQLITE BUSY[$count]"
  done
}

limit_line() { # SOURCE
  echo "E $1: IsRetryLimit(#) > RETRY COUNT is reached LIMIT, SQLITE_BUSY"
}

# The log is that of the good run with further lines, all behind one that ends in TEXT,
# and nothing else is different.
expect_same_but_for() { # TEXT LINES
  local before difference newline=$'\n'
  expect_equal "exit status" 0 "$status"
  expect_equal "output" "$(<"$work/good_out")" "$(<"$work/out")"
  difference=$(diff "$work/good_log" "$work/log" || true)
  expect_equal "lines that are added, and lines that are missing" "> ${2//$newline/$newline> }" \
    "$(grep '^[<>]' <<<"$difference")"
  before=$(sed -nE 's/^([0-9]+)a.*/\1/p' <<<"$difference")
  [[ $before =~ ^[0-9]+$ ]] || fail "the lines are not added in one place"
  [[ $(sed -n "${before}p" "$work/good_log") == *"$1" ]] ||
    fail "the lines are added behind: $(sed -n "${before}p" "$work/good_log")"
}

# The run ended at the write: up to its result the log is that of the good run with
# further LINES, then come the failure and what the program makes of it.
expect_write_failure() { # CODE TEXT MEANING [LINES]
  local good_lines message
  expect_equal "exit status" 1 "$status"
  message="timezone_picker: cannot write zone Curacao in $database: result $1 ($3)"
  good_lines=$(awk '/> Upsert SUCCESS/ && ++count == 4 { print NR - 1; exit }' "$work/good_log")
  expect_equal "log" "$(
    head -n "$good_lines" "$work/good_log"
    [[ -z ${4:-} ]] || echo "$4"
    echo "E Database.cpp: Upsert(#) > Upsert FAILED[$1]: $2"
    echo "D UpsertRequest.cpp: ~UpsertRequest(#) > UpsertRequest.cpp::~UpsertRequest(#) called"
    echo "D Database.cpp: ~Database(#) > Database.cpp::~Database(#) called"
    echo "$message"
  )" "$(<"$work/log")"
}

readonly rows='SELECT zone_name FROM zone ORDER BY zone_name'

# The file is whole, with the rows of the writes before, and another run succeeds.
expect_rows_before() {
  expect_equal "zones" Abidjan "$(sql "$rows")"
  expect_sound
}

expect_sound() {
  expect_equal "integrity" ok "$(sql 'PRAGMA integrity_check')"
  expect_equal "countries" $'CI\nCW' "$(sql 'SELECT country_code FROM country ORDER BY 1')"
  status=0
  VORN_DLOG_PRIORITY=S "$program" CI "$work/data" "$work/zoneinfo" >"$work/again" 2>&1 || status=$?
  expect_equal "exit status of another run" 0 "$status"
  expect_equal "files after another run" timezones.db "$(ls -A "$work/data")"
}

# --- Cases -----------------------------------------------------------------------

case_no_failure() {
  run
  expect_equal "output" "$(<"$work/good_out")" "$(<"$work/out")"
  expect_equal "log" "$(<"$work/good_log")" "$(<"$work/log")"
  expect_equal "zones" $'Abidjan\nCuracao' "$(sql "$rows")"
  expect_sound
}

case_busy_preparation() {
  use "${lock_calls[@]}"
  run_with_failures EAGAIN "$(number_of 'CheckExistTable 2' "$first_lock")" 3
  expect_same_but_for "DB file: $work/data timezones.db" "$(busy_lines Database.cpp 3)"
}

case_busy_step() {
  use "${lock_calls[@]}"
  run_with_failures EAGAIN "$(number_of 'CheckExistTable 2' "$first_lock" 2)" 3
  expect_same_but_for "DB file: $work/data timezones.db" "$(busy_lines DatabasePasrser.cpp 3)"
}

case_busy_write() {
  use "${lock_calls[@]}"
  run_with_failures EAGAIN "$(number_of "$write" "$first_lock")" 3
  expect_same_but_for "UpsertRequest.cpp::GetTable(#) called" "$(busy_lines Database.cpp 3)"
}

# After the limit there is one more attempt.
case_busy_until_the_last_attempt() {
  use "${lock_calls[@]}"
  run_with_failures EAGAIN "$(number_of "$write" "$first_lock")" 16
  expect_same_but_for "UpsertRequest.cpp::GetTable(#) called" \
    "$(busy_lines Database.cpp 15 && limit_line Database.cpp)"
}

case_busy_for_good() {
  local begin=${EPOCHREALTIME/./}
  use "${lock_calls[@]}"
  run_with_failures EAGAIN "$(number_of "$write" "$first_lock")" 17
  ((${EPOCHREALTIME/./} - begin >= 1500000)) || fail "17 attempts took less than 1.5 s"
  expect_write_failure 5 "database is locked" "the file is busy" \
    "$(busy_lines Database.cpp 15 && limit_line Database.cpp)"
  expect_rows_before
}

# What stepping meets is not returned: the table counts as missing.
case_busy_step_for_good() {
  use "${lock_calls[@]}"
  run_with_failures EAGAIN "$(number_of 'CheckExistTable 3' "$first_lock" 2)" 17
  expect_equal "exit status" 1 "$status"
  expect_equal "warnings and failures" "$(
    busy_lines DatabasePasrser.cpp 15 && limit_line DatabasePasrser.cpp
    echo "timezone_picker: table country is missing after its creation"
  )" "$(grep -v -e '^[DI] ' -e ' > DB file: ' "$work/log")"
}

case_full_journal() {
  use "${write_calls[@]}"
  run_with_failures ENOSPC "$(number_of "$write" '\.db-journal>')"
  expect_write_failure 13 "database or disk is full" "the disk is full"
  expect_rows_before
}

case_full_database() {
  use "${write_calls[@]}"
  run_with_failures ENOSPC "$(number_of "$write" '\.db>')"
  expect_write_failure 13 "database or disk is full" "the disk is full"
  expect_rows_before
}

# The old pages cannot be written back either; that is left to whoever opens the file
# next.
case_full_for_good() {
  use "${write_calls[@]}"
  run_with_failures ENOSPC "$(number_of "$write" '\.db>')" +
  expect_write_failure 13 "database or disk is full" "the disk is full"
  expect_equal "files" $'timezones.db\ntimezones.db-journal' "$(ls -A "$work/data")"
  expect_rows_before
}

case_unsynced_journal() {
  use "${sync_calls[@]}"
  run_with_failures EIO "$(number_of "$write" '\.db-journal>')"
  expect_write_failure 10 "disk I/O error" "the disk failed"
  expect_rows_before
}

case_unsynced_database() {
  use "${sync_calls[@]}"
  run_with_failures EIO "$(number_of "$write" '\.db>')"
  expect_write_failure 10 "disk I/O error" "the disk failed"
  expect_rows_before
}

# A change is made once its journal is gone.
case_undeleted_journal() {
  use "${delete_calls[@]}"
  run_with_failures EIO "$(number_of "$write" '\.db-journal')"
  expect_write_failure 10 "disk I/O error" "the disk failed"
  expect_rows_before
}

# Whatever call fails, once or for good, the row is there or it is not, as the result
# says.
case_every_call_of_a_write() {
  every_call_of_a_write "${write_calls[@]}"
  every_call_of_a_write "${sync_calls[@]}"
  every_call_of_a_write "${delete_calls[@]}"
}

every_call_of_a_write() { # NAME...
  local first last number count
  use "$@"
  first=$(number_of "$write" .)
  last=$((first + $(calls_of_write) - 1))
  for ((number = first; number <= last; ++number)); do
    for count in 1 +; do
      run_with_failures EIO "$number" $count
      echo "$call $number, $count: exit status $status, $(tail -n 1 "$work/log")"
      if ((status == 0)); then
        expect_equal "zones" $'Abidjan\nCuracao' "$(sql "$rows")"
        expect_sound
      else
        expect_write_failure 10 "disk I/O error" "the disk failed"
        expect_rows_before
      fi
    done
  done
}

calls_of_write() { # how many of $call the write makes
  awk -v call=" $call(" '
    index($0, "Database.cpp: Upsert(") && / called/ { ++started }
    started == 4 && index($0, "> Upsert SUCCESS") { exit }
    started == 4 && index($0, call) { ++count }
    END { print count + 0 }' "$work/good_calls"
}

declare -F "case_$test_case" >/dev/null || fail "there is no case $test_case"
run_without_failures
"case_$test_case"
