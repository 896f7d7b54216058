#!/usr/bin/env bash
# Compiles the public headers as a host would: each alone and twice, and all of
# them in several orders, with every warning an error and nothing but the header
# folder given.
# Use: compile_headers.sh COMPILER STANDARD INCLUDE_DIRECTORY
set -euo pipefail

compiler=$1
standard=$2
include=$3

mapfile -t headers < <(cd "$include" && printf '%s\n' *.h | LC_ALL=C sort)
if [ "${#headers[@]}" -ne 13 ]; then
  echo "expected 13 public headers in $include, found ${#headers[@]}" >&2
  exit 1
fi

# compile NAME HEADER...: compiles a source that includes these, in this order.
compile() {
  local name=$1
  shift
  if ! printf '#include "%s"\n' "$@" |
    "$compiler" "-std=$standard" -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror \
      -fsyntax-only -I "$include" -x c++ -; then
    echo "$name does not compile as $standard with $compiler" >&2
    exit 1
  fi
}

count=${#headers[@]}
for header in "${headers[@]}"; do
  compile "$header" "$header" "$header"
done
# Every header comes first once, and every pair stands in both orders.
for ((first = 0; first < count; ++first)); do
  compile "order $first" "${headers[@]:first}" "${headers[@]:0:first}"
done
mapfile -t reversed < <(printf '%s\n' "${headers[@]}" | tac)
compile "reversed order" "${reversed[@]}"
# Beside SQLite's own header, on either side.
compile "after sqlite3.h" "sqlite3.h" "${headers[@]}"
compile "before sqlite3.h" "${headers[@]}" "sqlite3.h"

# SQLite's types are declared, its header is the host's own affair; so is the
# platform's.
if grep -nE '^#include <.*\.h' "$include"/*.h; then
  echo "a public header includes another library's header" >&2
  exit 1
fi

for word in '#if' '#ifdef'; do
  if grep -n "^$word " "$include"/*.h; then
    echo "a public header depends on a macro" >&2
    exit 1
  fi
done
echo "$count headers compile as $standard with $compiler"
