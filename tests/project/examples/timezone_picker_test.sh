#!/bin/bash
# Runs the example timezone_picker and puts the same questions to the sqlite3 shell
# and, with awk, to the files that the example reads.
#
# Usage: timezone_picker_test.sh CASE PROGRAM [REFERENCE]
#
# If VORN_EMULATOR is set, that command runs PROGRAM. REFERENCE is the same program,
# built for this machine.
set -euo pipefail
export LC_ALL=C
export VORN_DLOG_PRIORITY=S

zoneinfo=/usr/share/zoneinfo
readonly skipped=77

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

[[ $# -eq 2 || $# -eq 3 ]] || fail "usage: $0 CASE PROGRAM [REFERENCE]"
readonly test_case=$1
[[ -x $2 ]] || fail "$2 is no program"
read -ra program <<<"${VORN_EMULATOR:-}"
program+=("$(realpath "$2")")
readonly reference=${3:-}
type -P sqlite3 >/dev/null || fail "the sqlite3 shell is needed"
for file in iso3166.tab zone.tab; do
  [[ -r $zoneinfo/$file ]] || fail "$zoneinfo/$file is needed"
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly program work
readonly directory=$work/data
readonly database=$directory/timezones.db
readonly small=$work/zoneinfo
mkdir "$directory" "$small"

# --- Running and comparing -------------------------------------------------------

# What runs the program as another user, when set.
as_user=()

# Leaves the exit status in $status, the output in $work/out and $work/err.
run() {
  status=0
  "${as_user[@]}" "${program[@]}" "$@" >"$work/out" 2>"$work/err" || status=$?
}

run_well() {
  run "$@"
  [[ $status -eq 0 ]] || fail "exit status $status of: $*: $(<"$work/err")"
  expect_equal "standard error of: $*" "" "$(<"$work/err")"
}

expect_equal() { # WHAT EXPECTED ACTUAL
  if [[ $2 != "$3" ]]; then
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3") >&2 || true
    fail "$1: differs as above (< expected, > found)"
  fi
}

expect_line() { # LINE: it is in the output
  grep -qxF -e "$1" "$work/out" || fail "no line '$1' in: $(<"$work/out")"
}

# The run fails with one line of this text, and exit status 1.
expect_failure() { # TEXT ARGUMENT...
  local text=$1
  shift
  run "$@"
  expect_equal "exit status of: $*" 1 "$status"
  expect_equal "standard error of: $*" "timezone_picker: $text" "$(<"$work/err")"
}

# The run is refused with this text and the usage, and makes no file.
expect_refusal() { # TEXT ARGUMENT...
  local text=$1
  shift
  run "$@"
  expect_equal "exit status of: $*" 2 "$status"
  expect_equal "standard output of: $*" "" "$(<"$work/out")"
  expect_equal "standard error of: $*" "timezone_picker: $text"$'\n'"$("${program[@]}" --help)" \
    "$(<"$work/err")"
  expect_equal "files after: $*" "" "$(ls -A "$directory")"
}

# SQLite's handle stays allocated when a file cannot be opened (Database.h), which
# a leak check would report.
without_leak_check() {
  ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0 "$@"
}

# --- The three sources -----------------------------------------------------------

sql() {
  sqlite3 -batch -init /dev/null -separator $'\t' "$database" "$1"
}

tables() {
  sql "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name"
}

expect_no_tables() {
  expect_equal "tables left" "" "$(tables)"
  expect_equal "integrity of the file" ok "$(sql 'PRAGMA integrity_check')"
}

# The zones of zone.tab, in its order: country, rank, name, latitude, longitude
# and comment. A double that passes the library has six significant digits.
tab_zones() {
  awk -F '\t' -v OFS='\t' '
    function angle(text, degree_digits,    seconds) {
      seconds = substr(text, 2, degree_digits) * 3600
      seconds += substr(text, 2 + degree_digits, 2) * 60
      seconds += substr(text, 4 + degree_digits, 2)
      return sprintf("%.6g", (text ~ /^-/ ? -seconds : seconds) / 3600)
    }
    /^#/ { next }
    {
      match(substr($2, 2), /[-+]/)
      print $1, ++rank[$1], $3, angle(substr($2, 1, RSTART), 2), angle(substr($2, RSTART + 1), 3), $4
    }' "$zoneinfo/zone.tab"
}

# The same five columns of one country, from the files and from the database.
tab_zones_of() { # CODE
  tab_zones | awk -F '\t' -v OFS='\t' -v code="$1" '$1 == code { print $2, $3, $4, $5, $6 }'
}

database_zones_of() { # CODE
  sql "SELECT zone_rank, zone_name, zone_latitude, zone_longitude, zone_comment
    FROM country, zone WHERE country_code = zone_country AND country_code = '$1'
    ORDER BY zone_rank"
}

# Those columns as the program prints them.
as_list() {
  awk -F '\t' '
    function widen(column, text) {
      if (length(text) > width[column]) width[column] = length(text)
      return text
    }
    function degrees(value) { return sprintf("%.3f", value < 0 ? -value : value) }
    {
      rank[NR] = widen(1, $1)
      name[NR] = widen(2, $2)
      latitude[NR] = widen(3, degrees($3)); north[NR] = $3 < 0 ? "S" : "N"
      longitude[NR] = widen(4, degrees($4)); east[NR] = $4 < 0 ? "W" : "E"
      comment[NR] = $5 == "" ? "" : "  " $5
    }
    END {
      format = "   %" width[1] "s  %-" width[2] "s  %" width[3] "s°%s  %" width[4] "s°%s%s\n"
      for (i = 1; i <= NR; ++i)
        printf format, rank[i], name[i], latitude[i], north[i], longitude[i], east[i], comment[i]
    }'
}

country_name() { # CODE
  awk -F '\t' -v code="$1" '$1 == code { print $2 }' "$zoneinfo/iso3166.tab"
}

country_without_zones() {
  comm -23 <(grep -v '^#' "$zoneinfo/iso3166.tab" | cut -f 1 | sort) \
    <(grep -v '^#' "$zoneinfo/zone.tab" | cut -f 1 | sort -u) | head -n 1
}

count_rows() { # FILE
  grep -cv '^#' "$zoneinfo/$1"
}

# --- Small files of our own ------------------------------------------------------

write_small_files() {
  printf '%s\t%s\n' '#code' 'name' BV 'Bouvet Island' CI "Côte d'Ivoire" CW Curaçao \
    >"$small/iso3166.tab"
  printf '%s\t%s\t%s\n' '#code' coordinates name \
    CI -054912-0040159 'Été/Île' \
    CW +121159-0685959 Curaçao \
    CI +9000+18000 Abidjan \
    CI +000000-0000001 $'Zürich\tl\'eau, "là"' \
    CI -0959+00958 Long_Name/Of_A_Zone >"$small/zone.tab"
}

small_zone_list() {
  cat <<'END'
   1  Été/Île               5.820°S    4.033°W
   2  Abidjan              90.000°N  180.000°E
   3  Zürich                0.000°N    0.000°W  l'eau, "là"
   4  Long_Name/Of_A_Zone   9.983°S    9.967°E
END
}

small_first_part() { # what the first step found
  cat <<END
First part: a database file with two tables, and a list from their join.

1. Drop the tables that an earlier run has left. They could not be reused as
   they are: to create a table that exists changes nothing about it.
   country: $1
   zone: $1
2. Create the two tables, and ask for each whether it exists.
   country: exists
   zone: exists
3. Write each row with an upsert of its own, and select all rows to count them.
   country: 3 rows written, 3 found
   zone: 5 rows written, 5 found
4. Look the country up with a select on its code.
   CI is Côte d'Ivoire.
5. Join the zones to the country with that name, walk the result and list it.
$(small_zone_list)
END
}

small_second_part() {
  cat <<END
Second part: the changes.

6. Update the comment of the first zone, and select its row again.
   1  Été/Île  5.820°S  4.033°W  this device's zone
7. Delete the country's zones and nothing else, and join once more.
   No zone is listed for Côte d'Ivoire.
   zone: 5 rows before, 1 left
8. Drop both tables, and ask again whether they exist.
   country: gone
   zone: gone

The file $database stays, without tables.
END
}

small_kept() { # what the first step found
  small_first_part "$1"
  echo
  echo "The tables stay in $database."
}

small_tour() { # what the first step found
  small_first_part "$1"
  echo
  small_second_part
}

# --- Cases: the first part -------------------------------------------------------

# The statements that build both tables a second time, from the .tab files alone.
expected_tables() {
  echo "CREATE TEMP TABLE expected_country (code TEXT, name TEXT);"
  echo "CREATE TEMP TABLE expected_zone (name TEXT, country TEXT, rank INTEGER,
    latitude REAL, longitude REAL, comment TEXT);"
  grep -v '^#' "$zoneinfo/iso3166.tab" | sed "s/'/''/g" | awk -F '\t' -v q="'" \
    '{ print "INSERT INTO expected_country VALUES (" q $1 q "," q $2 q ");" }'
  tab_zones | sed "s/'/''/g" | awk -F '\t' -v q="'" '{
      comment = $6 == "" ? "NULL" : q $6 q
      print "INSERT INTO expected_zone VALUES (" q $3 q "," q $1 q "," $2 "," $4 "," $5 "," comment ");"
    }'
}

compared_tables() {
  local country="SELECT country_code, country_name FROM country"
  local zone="SELECT zone_name, zone_country, zone_rank, zone_latitude, zone_longitude,
    zone_comment FROM zone"
  sql "BEGIN; $(expected_tables) COMMIT;
    SELECT 'unexpected', * FROM ($country EXCEPT SELECT * FROM expected_country);
    SELECT 'missing', * FROM (SELECT * FROM expected_country EXCEPT $country);
    SELECT 'unexpected', * FROM ($zone EXCEPT SELECT * FROM expected_zone);
    SELECT 'missing', * FROM (SELECT * FROM expected_zone EXCEPT $zone);"
}

# Every row and every double, to the last bit.
case_tables() {
  run_well --keep PT "$directory"
  expect_equal "tables" $'country\nzone' "$(tables)"
  expect_equal "count of countries" "$(count_rows iso3166.tab)" "$(sql 'SELECT count(*) FROM country')"
  expect_equal "count of zones" "$(count_rows zone.tab)" "$(sql 'SELECT count(*) FROM zone')"
  expect_equal "rows" "" "$(compared_tables)"
  expect_equal "types" $'integer\treal\treal' \
    "$(sql 'SELECT DISTINCT typeof(zone_rank), typeof(zone_latitude), typeof(zone_longitude) FROM zone')"
  expect_line "   country: $(count_rows iso3166.tab) rows written, $(count_rows iso3166.tab) found"
  expect_line "   zone: $(count_rows zone.tab) rows written, $(count_rows zone.tab) found"
}

check_list() { # CODE [CODE AS GIVEN]
  local code=$1 name
  name=$(country_name "$code")
  [[ -n $name ]] || fail "$code is not in iso3166.tab"
  run_well --keep "${2:-$code}" "$directory" "$zoneinfo"
  expect_line "   $code is $name."
  expect_equal "name of $code" "$name" \
    "$(sql "SELECT country_name FROM country WHERE country_code = '$code'")"
  grep '°' "$work/out" >"$work/list" || true
  expect_equal "list of $code against zone.tab" "$(tab_zones_of "$code" | as_list)" "$(<"$work/list")"
  expect_equal "list of $code against the file" "$(database_zones_of "$code" | as_list)" \
    "$(<"$work/list")"
  expect_equal "last line" "The tables stay in $database." "$(tail -n 1 "$work/out")"
}

# The system's files, whose country CI has a plain apostrophe in its name in some
# releases and a typographic one in others. Here it has the plain one.
case_list_apostrophe() {
  cp "$zoneinfo/iso3166.tab" "$zoneinfo/zone.tab" "$small"
  sed -i "s/^CI\t.*/CI\tC\xc3\xb4te d'Ivoire/" "$small/iso3166.tab"
  zoneinfo=$small
  [[ $(country_name CI) == *\'* ]] || fail "the name of CI has no apostrophe"
  check_list CI
  expect_equal "zones of CI" 1 "$(wc -l <"$work/list")"
}

case_list_many() {
  check_list US
  [[ $(wc -l <"$work/list") -ge 10 ]] || fail "fewer than 10 zones"
}

case_list_none() {
  local code
  code=$(country_without_zones)
  [[ -n $code ]] || fail "every country has zones"
  check_list "$code"
  expect_equal "list of $code" "" "$(<"$work/list")"
  expect_line "   No zone is listed for $(country_name "$code")."
}

case_list_lower_case() {
  check_list PT pt
}

# Another processor and another compiler leave the same file behind.
case_same_as_reference() {
  local dump
  [[ -x $reference ]] || fail "'$reference' is no program"
  run_well --keep PT "$directory"
  dump=$(sql .dump)
  rm "$database"
  "$reference" --keep PT "$directory" >"$work/reference"
  diff "$work/reference" "$work/out" || fail "the outputs differ"
  diff <(sql .dump) - <<<"$dump" || fail "the files differ"
}

# --- Cases: the whole tour -------------------------------------------------------

case_tour() {
  write_small_files
  run_well CI "$directory" "$small"
  expect_equal "output" "$(small_tour none)" "$(<"$work/out")"
  expect_no_tables
}

case_tour_without_zones() {
  write_small_files
  run_well BV "$directory" "$small"
  expect_line "   There is no zone to update."
  expect_line "   zone: 5 rows before, 5 left"
  expect_no_tables
}

case_tour_system_files() {
  local count first
  run_well PT "$directory"
  count=$(tab_zones_of PT | wc -l)
  first=$(tab_zones_of PT | awk -F '\t' -v OFS='\t' "NR == 1 { \$5 = \"this device's zone\"; print }")
  expect_line "$(as_list <<<"$first")"
  expect_line "   zone: $(count_rows zone.tab) rows before, $(($(count_rows zone.tab) - count)) left"
  expect_no_tables
}

# The library's log does not reach the output.
case_log_is_apart() {
  write_small_files
  unset VORN_DLOG_PRIORITY
  run CI "$directory" "$small"
  expect_equal "exit status" 0 "$status"
  expect_equal "output" "$(small_tour none)" "$(<"$work/out")"
}

# --- Cases: what is in the file already ------------------------------------------

case_rebuild() {
  local dump
  write_small_files
  run_well --keep CI "$directory" "$small"
  expect_equal "first output" "$(small_kept none)" "$(<"$work/out")"
  dump=$(sql .dump)
  run_well --keep CI "$directory" "$small"
  expect_equal "second output" "$(small_kept dropped)" "$(<"$work/out")"
  expect_equal "file after the second run" "$dump" "$(sql .dump)"
  run_well CI "$directory" "$small"
  expect_equal "third output" "$(small_tour dropped)" "$(<"$work/out")"
  expect_no_tables
}

case_rebuild_other_layout() {
  write_small_files
  sql "CREATE TABLE zone (zone_name TEXT, more TEXT); INSERT INTO zone VALUES ('a', 'b')"
  run_well CI "$directory" "$small"
  expect_line "   country: none"
  expect_line "   zone: dropped"
  expect_equal "rest of the output" "$(small_tour none | tail -n +7)" "$(tail -n +7 "$work/out")"
  expect_no_tables
}

case_other_tables() {
  local dump
  write_small_files
  sql "CREATE TABLE note (a, b); INSERT INTO note VALUES (1, 'two')"
  dump=$(sql .dump)
  run_well CI "$directory" "$small"
  expect_equal "file after the run" "$dump" "$(sql .dump)"
}

# --- Cases: wrong use ------------------------------------------------------------

case_help() {
  run_well --help
  expect_equal "first line" "Usage: timezone_picker [--keep] COUNTRY DIRECTORY [ZONEINFO]" \
    "$(head -n 1 "$work/out")"
}

case_usage() {
  local places="a country and a directory are needed, and perhaps a second directory"
  local empty="a directory's name is empty"
  expect_refusal "$places"
  expect_refusal "$places" --keep
  expect_refusal "$places" PT
  expect_refusal "$places" PT "$directory" "$zoneinfo" more
  expect_refusal "unknown option '--drop'" --drop PT "$directory"
  expect_refusal "unknown option '-k'" PT "$directory" -k
  expect_refusal "$empty" PT ""
  expect_refusal "$empty" PT "$directory" ""
  expect_refusal "a country is a code of two letters, not 'PRT'" PRT "$directory"
  expect_refusal "a country is a code of two letters, not 'P''" "P'" "$directory"
  expect_refusal "a country is a code of two letters, not ''" "" "$directory"
}

case_unknown_country() {
  write_small_files
  expect_failure "unknown country PT" pt "$directory" "$small"
}

case_missing_directory() {
  write_small_files
  without_leak_check expect_failure \
    "cannot look for table country in $work/none/timezones.db: result 14 (the file cannot be opened)" \
    CI "$work/none" "$small"
  [[ ! -e $work/none ]] || fail "the directory has been made"
}

# --- Cases: bad files ------------------------------------------------------------

expect_bad_file() { # TEXT
  expect_failure "$1" CI "$directory" "$small"
  expect_equal "files after: $1" "" "$(ls -A "$directory")"
}

case_missing_zoneinfo() {
  expect_failure "cannot read $work/none/iso3166.tab" CI "$directory" "$work/none"
  write_small_files
  rm "$small/zone.tab"
  expect_bad_file "cannot read $small/zone.tab"
  mkdir "$small/zone.tab"
  expect_bad_file "cannot read $small/zone.tab"
  rmdir "$small/zone.tab"
  printf '# nothing\n' >"$small/zone.tab"
  expect_bad_file "$small/zone.tab has no rows"
}

# A good file whose third line is replaced.
expect_bad_line() { # FILE LINE TEXT
  write_small_files
  awk -v line="$2" 'NR == 3 { print line; next } { print }' "$small/$1" >"$work/broken"
  mv "$work/broken" "$small/$1"
  expect_bad_file "$small/$1:3: $3"
}

case_malformed_country() {
  expect_bad_line iso3166.tab 'CI' "the number of fields is 1, not 2"
  expect_bad_line iso3166.tab '' "the number of fields is 1, not 2"
  expect_bad_line iso3166.tab 'CI\tName\tMore' "the number of fields is 3, not 2"
  expect_bad_line iso3166.tab 'ci\tName' "'ci' is not a country code"
  expect_bad_line iso3166.tab 'CIV\tName' "'CIV' is not a country code"
  expect_bad_line iso3166.tab 'CI\t' "the name is empty"
  expect_bad_line iso3166.tab 'CI\tName\r' "the line has a control character"
}

case_malformed_zone() {
  local text coordinates
  expect_bad_line zone.tab 'CI\t+0000+00000' "the number of fields is 2, not 3 to 4"
  expect_bad_line zone.tab 'CI\t+0000+00000\tName\t\t' "the number of fields is 5, not 3 to 4"
  expect_bad_line zone.tab '1I\t+0000+00000\tName' "'1I' is not a country code"
  expect_bad_line zone.tab 'CI\t+0000+00000\t\tcomment' "the name is empty"
  for coordinates in '' + 0000 +0000 +0000+0000 +000+00000 +0000+000000 +00000+00000 \
    10000+00000 +0000_00000 +0060+00000 +000060+0000000 +0000+00060 +9001+00000 +0000-18001 \
    +00x0+00000 +0000+00000+00000; do
    text="'$coordinates' are not coordinates such as +3843-00908 or +404251-0740023"
    expect_bad_line zone.tab "CI\\t$coordinates\\tName" "$text"
  done
}

# Two rows with one key are one row of the table: the count tells.
case_repeated_zone() {
  write_small_files
  printf 'CW\t+0000+00000\tAbidjan\n' >>"$small/zone.tab"
  expect_failure "rows of table zone: 6 expected, 5 found" CI "$directory" "$small"
}

# --- Cases: bad database files ---------------------------------------------------

case_occupied_name() {
  write_small_files
  mkdir "$database"
  without_leak_check expect_failure \
    "cannot look for table country in $database: result 14 (the file cannot be opened)" \
    CI "$directory" "$small"
}

case_read_only_directory() {
  write_small_files
  chmod -R a+rX "$work"
  chmod a-w "$directory"
  # Root may write everywhere, and so leaves the attempt to somebody else.
  if [[ $EUID -eq 0 ]]; then
    as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
    run --help
    if [[ $status -ne 0 ]]; then
      echo "skipped: no other user can run the program: $(<"$work/err")"
      exit $skipped
    fi
  fi
  without_leak_check expect_failure \
    "cannot look for table country in $database: result 14 (the file cannot be opened)" \
    CI "$directory" "$small"
}

case_foreign_file() {
  local size
  write_small_files
  # SQLite takes a file of a single byte for an empty one.
  for size in 2 100 100000; do
    yes "no database" | head -c "$size" >"$work/foreign" || true
    cp "$work/foreign" "$database"
    expect_failure \
      "cannot look for table country in $database: result 26 (the file is not a database)" \
      CI "$directory" "$small"
    cmp "$work/foreign" "$database" || fail "the file of $size bytes has changed"
    expect_equal "files" timezones.db "$(ls -A "$directory")"
  done
}

# Another process keeps the file locked for longer than the library waits.
case_busy_file() {
  write_small_files
  run_well --keep CI "$directory" "$small"
  mkfifo "$work/commands"
  sqlite3 -batch -init /dev/null "$database" <"$work/commands" &
  exec 3>"$work/commands"
  printf '%s\n' 'BEGIN EXCLUSIVE;' ".shell touch '$work/locked'" >&3
  for _ in {1..200}; do
    [[ ! -e $work/locked ]] || break
    sleep 0.05
  done
  [[ -e $work/locked ]] || fail "the sqlite3 shell does not answer"
  expect_failure "cannot look for table country in $database: result 5 (the file is busy)" \
    CI "$directory" "$small"
  exec 3>&-
  wait
  expect_equal "zones" 5 "$(sql 'SELECT count(*) FROM zone')"
}

# A limit on the size of files stops the writing half-way.
case_write_failure() {
  status=0
  (
    trap '' XFSZ
    ulimit -f 24
    "${program[@]}" CI "$directory" >"$work/out" 2>"$work/err"
  ) || status=$?
  expect_equal "exit status" 1 "$status"
  expect_equal "lines of standard error" 1 "$(wc -l <"$work/err")"
  grep -qE "^timezone_picker: cannot write (country|zone) .+ in $database: result 1[03] " "$work/err" ||
    fail "unexpected message: $(<"$work/err")"
}

case_output_failure() {
  write_small_files
  status=0
  "${program[@]}" CI "$directory" "$small" >/dev/full 2>"$work/err" || status=$?
  expect_equal "exit status" 1 "$status"
  expect_equal "standard error" "timezone_picker: cannot write to standard output" "$(<"$work/err")"
}

declare -F "case_$test_case" >/dev/null || fail "there is no case $test_case"
"case_$test_case"
