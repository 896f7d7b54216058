#!/usr/bin/env bash
# Gives the checks of scripts/docs.sh something to find.
# Use: docs_test.sh CASE SOURCE_DIRECTORY
set -euo pipefail

case=$1
source=$2
export PYTHONDONTWRITEBYTECODE=1

# shellcheck source=scripts/lib/diagrams.sh
source "$source/scripts/lib/diagrams.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$case: $1" >&2
  exit 1
}

tool() {
  python3 "$source/scripts/lib/$1" "${@:2}"
}

# expect STATUS PATTERN COMMAND...: the command's status, and a line of its output.
expect() {
  local status=0
  "${@:3}" >"$work/output" 2>&1 </dev/null || status=$?
  if ((status != $1)) || ! grep -qE -e "$2" "$work/output"; then
    cat "$work/output" >&2
    fail "status $status, or no '$2', of: ${*:3}"
  fi
}

usage() {
  expect 2 '^usage: ' "$source/scripts/docs.sh" nosuch
  expect 2 '^usage: ' "$source/scripts/docs.sh" diagrams nosuch
  expect 0 '^usage: ' "$source/scripts/docs.sh" --help
  expect 2 '^usage: ' tool links.py
  expect 2 '^usage: ' tool courses.py
}

# The pages of the repository itself.
links() {
  cd "$source"
  expect 0 '^[0-9]+ links in [0-9]+ files$' tool links.py pages ./*.md docs/*.md abi/*.md
}

# shellcheck disable=SC2016 # these are the backticks of pages
# page TEXT: checks a page with this text beside another with a heading.
page() {
  printf '# One\n\n## Two `words`, here\n\n## Same\n\n## Same\n' >"$work/other.md"
  printf '# Page\n\n%s\n' "$1" >"$work/page.md"
  tool links.py pages "$work/page.md"
}

# shellcheck disable=SC2016
dead_file() {
  expect 0 '^1 links' page '[other](other.md)'
  expect 1 'page.md: nosuch.md: there is no such file' page '[one](nosuch.md), [other](other.md)'
  expect 1 'there is no such file' page '![picture](nosuch.svg)'
  expect 1 'there is no such file' page $'[over\nlines](nosuch.md)'
  expect 1 'no link was found' page '`[code](nosuch.md)`'
}

dead_heading() {
  expect 0 '^2 links' page '[a](other.md#two-words-here) [b](other.md#same-1)'
  expect 1 'page.md: other.md#two: there is no such place' page '[a](other.md#two)'
  expect 1 'other.md#same-2: there is no such place' page '[a](other.md#same-2)'
}

dead_anchor() {
  mkdir "$work/site"
  echo '<p id="here"><a href="#here">x</a><a href="b.html#there">y</a></p>' >"$work/site/a.html"
  echo '<p id="there"><a href="https://nosuch.invalid/">x</a></p>' >"$work/site/b.html"
  expect 0 '^2 links in 2 files$' tool links.py site "$work/site"
  echo '<p id="moved"></p>' >"$work/site/b.html"
  expect 1 'a.html: b.html#there: there is no such place' tool links.py site "$work/site"
}

diagrams() {
  check_diagrams "$source/docs/diagrams" || fail 'see above'
}

stale_diagram() {
  cp "$source"/docs/diagrams/* "$work"
  echo '// changed' >>"$work/write.dot"
  expect 1 'write.svg is older than its source' check_diagrams "$work"
  rm "$work/query.svg"
  expect 1 'query.svg is older than its source' check_diagrams "$work"
}

# write_course CALL...: an operation that makes these calls; and a diagram of two of them.
write_course() {
  printf 'Write 1 %s\n' "$@" >"$work/calls.txt"
  cat >"$work/write.dot" <<'DIAGRAM'
digraph "Database::Write" {
  db [label="Database"]; request [label="SomeRequest"]; sqlite [label="SQLite"]
  db1 -> request1
  db2 -> sqlite2
  db3 -> app3 [style=dashed]
  t1 [label="GetPath"]
  t2 [label="sqlite3_open ☰\l"]
}
DIAGRAM
}

check_course() {
  tool courses.py "$work/calls.txt" "$work/write.dot"
}

course() {
  write_course Database::Write BasePath::GetPath Other::Member sqlite3_open
  expect 0 '^1 courses' check_course
  echo '// NoSuch.cpp' >>"$work/write.dot"
  expect 0 '^1 courses' check_course
  sed -i 's/"Database"/"Database in NoSuch.cpp"/' "$work/write.dot"
  expect 1 'there is no NoSuch.cpp' check_course
}

wrong_order() {
  write_course Database::Write sqlite3_open BasePath::GetPath
  expect 1 'sqlite3_open is not called, or not there' check_course
}

missing_call() {
  write_course Database::Write BasePath::GetPath
  expect 1 'sqlite3_open is not called, or not there' check_course
  write_course Database::Write BasePath::GetPath sqlite3_open sqlite3_close
  expect 1 'sqlite3_close is missing' check_course
}

# Every file and folder that docs/architecture.md names, but for those of its example.
architecture() {
  local place missing=0
  while read -r place; do
    compgen -G "$source/$place" >/dev/null || {
      echo "there is no $place" >&2
      missing=1
    }
  done < <(grep -oE '`(abi|docs|include|scripts|src|tests|tools)/[A-Za-z_./*-]*' "$source/docs/architecture.md" |
    tr -d '`' | grep -v EmptyRequest | sort -u)
  ((missing == 0)) || fail 'see above'
}

# How a page of the repository becomes one of the site.
pages() {
  mkdir -p "$work/scripts/lib" "$work/docs" "$work/include"
  cp "$source/scripts/lib/page.py" "$work/scripts/lib"
  touch "$work/include/Cursor.h"
  cat >"$work/docs/log.md" <<'PAGE'
# Log
## What `it` says
See
[that
there](#what-it-says), [start](../README.md#a-b), [cursor](../include/Cursor.h), and
[a script](../scripts/x.sh); **`bold`** or `it's`, 100%s "%s" `%d \|`, [far](https://nosuch.invalid/) "100%s
100%s" 100%s
```text
[not](touched) 100%s
```
PAGE
  diff -u - <(python3 "$work/scripts/lib/page.py" "$work/docs/log.md") <<'SITE' || fail 'see above'
# Log {#log}
## What it says {#log-what-it-says}
See
[that there](@ref log-what-it-says), [start](@ref readme-a-b), [cursor](@ref Cursor), and
a script; <b>`bold`</b> or `` it's ``, 100\%s "%s" <code>\%d \|</code>, [far](https://nosuch.invalid/) "100%s
100%s" 100\%s
```text
[not](touched) 100%s
```
SITE
}

case $case in
  usage | links | dead_file | dead_heading | dead_anchor | diagrams | stale_diagram | course) "$case" ;;
  wrong_order | missing_call | architecture | pages) "$case" ;;
  *) fail 'unknown case' ;;
esac
echo "$case: as expected"
