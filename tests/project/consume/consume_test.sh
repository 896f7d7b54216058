#!/usr/bin/env bash
# Installs the library, and builds and runs hosts that use it in every way that
# the README offers. The cases leave their results in the work directory for each
# other, as tests/project/consume/CMakeLists.txt orders them.
# Use: consume_test.sh CASE SOURCE_DIRECTORY BUILD_DIRECTORY WORK_DIRECTORY CMAKE CXX_COMPILER
# with VORN_VERSION, VORN_LIBDIR and VORN_CONFIGURATION; for a cross build with
# VORN_EMULATOR, CMAKE_TOOLCHAIN_FILE and LDFLAGS; and for hosts of a library that is
# installed already, with its VORN_PREFIX.
set -euo pipefail
export LC_ALL=C
# Hosts get what they are given here and nothing else.
unset DESTDIR VORN_DLOG_PRIORITY CMAKE_PREFIX_PATH PKG_CONFIG_PATH LD_LIBRARY_PATH LIBRARY_PATH CPATH

case=$1
source=$2
build=$3
work=$4
cmake=$5
compiler=$6

libdir=$VORN_LIBDIR
components=(runtime development stand_ins tool)
# What was installed is used in another place: all in one, and the library apart
# from the platform.
prefix=${VORN_PREFIX:-$work/moved/prefix}
library=$work/moved/library
platform=$work/moved/platform
log=$work/$case.log

fail() {
  cat "$log" >&2 || true
  echo "$case: $1" >&2
  exit 1
}

# --- Installing ------------------------------------------------------------------

install() {
  local component
  rm -rf "$work/installed" "$work/moved"
  mkdir -p "$work/moved"
  for component in "${components[@]}"; do
    "$cmake" --install "$build" --component "$component" --prefix "$work/installed/$component" \
      >>"$log" 2>&1 || fail "the component $component cannot be installed"
  done
  mkdir "$prefix" "$library"
  cp -R "$work"/installed/*/. "$prefix"
  cp -R "$work"/installed/{runtime,development}/. "$library"
  cp -R "$work/installed/stand_ins" "$platform"
  # From here on nobody must look there.
  mv "$work/installed" "$work/moved/components"
}

# Component and name of every file, with the names that all machines share.
files() {
  local component
  for component in "${components[@]}"; do
    (cd "$work/moved/components/$component" && find . -not -type d -printf "$component %P\n")
  done | sed -E "s|^([^ ]+) $libdir/|\1 lib/|; s|(Targets)-[a-z]+\.cmake$|\1-CONFIGURATION.cmake|" |
    sort >"$work/files.txt"
  diff -u "$source/tests/project/consume/files.txt" "$work/files.txt" ||
    fail "the installed files differ from files.txt"
}

# files_with OPTION PLACE: prints the files that name folders of the build. (The documents
# are copies, whose example of a checkout may be where this one is.)
files_with() {
  local status=0
  grep -rlF "$1" --exclude-dir=doc -e "$source" -e "$work" "$2" || status=$?
  ((status <= 1)) || fail "$2 cannot be searched"
  return "$status"
}

# Nothing tells where it was built or first installed.
origin() {
  local file
  if files_with -I "$prefix"; then
    fail "the files above name folders of the build"
  fi
  for file in "$prefix/$libdir"/*.so; do
    # Unoptimised builds are for the debugger, which has to find the sources.
    if [ "$VORN_CONFIGURATION" != Debug ] && files_with -a "$file"; then
      fail "the library above names folders of the build"
    fi
    if grep -E '\((RPATH|RUNPATH)\)' <<<"$(readelf -dW "$file")"; then
      fail "$file has a run path"
    fi
  done
}

# --- Building and running a host -------------------------------------------------

# The folder of the host's project.
project=$source/tests/project/consume/host

# configure WAY FOLDER ARGUMENT...
configure() {
  local way=$1 folder=$2
  shift 2
  "$cmake" -S "$project" -B "$folder" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DHOST_WAY="$way" "$@" >>"$log" 2>&1 || fail "the host's project does not configure"
}

build_host() {
  rm -f "$1/host"
  "$cmake" --build "$1" >>"$log" 2>&1 || fail "the host does not build"
}

# launch LIBRARIES PROGRAM ARGUMENT...: in the host's own folder, with this further
# directory for shared libraries, if any; adds what it prints to the case's output.
launch() {
  local libraries=$1
  local -a emulator
  read -ra emulator <<<"${VORN_EMULATOR:-}"
  if [ -n "$libraries" ]; then
    export LD_LIBRARY_PATH=$libraries
    # An emulated program has a path of its own.
    emulator=("${emulator[@]/#LD_LIBRARY_PATH=/LD_LIBRARY_PATH=$libraries:}")
  fi
  (cd "$work/$case.data" && "${emulator[@]}" "${@:2}") >>"$work/$case.out" 2>>"$log" ||
    fail "the host fails"
}

# expect_run FILE UPSERTS: the output is what standard input has, the database file is
# there, and the log shows so many upserts.
expect_run() {
  diff -u - "$work/$case.out" || fail "the host prints something else"
  [ -s "$work/$case.data/$1" ] || fail "there is no database file"
  local upserts
  upserts=$(grep -cE '^I VORN [0-9]+ [0-9]+ Database\.cpp: Upsert\([0-9]+\) > Upsert SUCCESS\[0\]$' "$log") ||
    true
  ((upserts == $2)) || fail "the log shows $upserts upserts on standard error, not $2"
}

new_run() {
  rm -rf "${work:?}/$case.data" "$work/$case.out"
  mkdir "$work/$case.data"
}

# run PROGRAM [DIRECTORY]: with this further directory for shared libraries.
run() {
  new_run
  launch "${2:-}" "$1" "$work/$case.data"
  expect_run host.db 2 <<'END'
PT Portugal
CI Cote d'Ivoire
2 rows
END
}

# with_package FOLDERS ARGUMENT...: a host that finds the library below FOLDERS.
# A cross build looks below its roots alone.
with_package() {
  local folders=$1
  shift
  local -a roots=()
  if [ -n "${CMAKE_TOOLCHAIN_FILE:-}" ]; then
    roots=(-DCMAKE_FIND_ROOT_PATH="$folders")
  fi
  rm -rf "${work:?}/$case"
  configure find_package "$work/$case" -DHOST_LIBRARY_VERSION="$VORN_VERSION" \
    -DCMAKE_PREFIX_PATH="$folders" "${roots[@]}" "$@"
  build_host "$work/$case"
}

# --- Installed libraries ---------------------------------------------------------

find_package() {
  with_package "$prefix"
  run "$work/$case/host" "$prefix/$libdir"
}

strict() {
  with_package "$prefix" -DHOST_STRICT=ON
  run "$work/$case/host" "$prefix/$libdir"
}

# The guide's host, a project as authors have it.
contacts() {
  project=$source/examples/contacts
  with_package "$prefix"
  new_run
  launch "$prefix/$libdir" "$work/$case/contacts" add "Miles O'Brien" 555-0100
  launch "$prefix/$libdir" "$work/$case/contacts" add Ana 555-0199
  launch "$prefix/$libdir" "$work/$case/contacts" list
  launch "$prefix/$libdir" "$work/$case/contacts" remove Ana
  launch "$prefix/$libdir" "$work/$case/contacts" list
  expect_run contacts.db 2 <<'END'
Miles O'Brien: 555-0100
Ana: 555-0199
Miles O'Brien: 555-0100
END
}

# As with a device's own libraries, which lie anywhere.
apart() {
  with_package "$library;$platform"
  run "$work/$case/host" "$platform/$libdir"
}

pkg_config() {
  export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
  local version
  version=$(pkg-config --modversion vorndatabase)
  [ "$version" = "$VORN_VERSION" ] || fail "the version is '$version'"
  local -a flags linker
  # It marks blanks in folders as a shell has them.
  mapfile -t flags < <(pkg-config --cflags --libs vorndatabase | xargs -n 1)
  read -ra linker <<<"${LDFLAGS:-}"
  "$compiler" "$source/tests/project/consume/host/main.cpp" "${flags[@]}" "${linker[@]}" \
    -o "$work/pkg_config_host" >>"$log" 2>&1 || fail "the host does not build"
  run "$work/pkg_config_host" "$prefix/$libdir"
}

# --- As a part of the host's project ---------------------------------------------

# What the compiler is told for the host's source in a target, without the
# target's name.
command_line() {
  sed -nE "s|^ *\"command\": \"(.*CMakeFiles/$1\.dir/main\.cpp\.o.*)\",$|\1|p" \
    "$work/subproject/compile_commands.json" | sed "s|/$1\.dir/|/TARGET.dir/|g"
}

# Using the library adds its headers and nothing else to the host.
expect_nothing_but_headers() {
  local host control
  host=$(command_line host)
  control=$(command_line control)
  [ -n "$control" ] || fail "there is no command line to compare with"
  local option=" -I$source/include "
  [[ $source != *' '* ]] || option=" -I\\\"$source/include\\\" "
  [[ $host == *"$option"* ]] || fail "the host does not get the headers: $host"
  [ "${host/"$option"/ }" = "$control" ] || fail "the host gets further options: $host"

  rm -rf "$work/subproject-installed"
  "$cmake" --install "$work/subproject" --prefix "$work/subproject-installed" >>"$log" 2>&1 ||
    fail "the host cannot be installed"
  [ ! -e "$work/subproject-installed" ] || fail "the library is installed with the host"
  grep -qx 'Total Tests: 0' <<<"$("${cmake%cmake}ctest" --test-dir "$work/subproject" -N)" ||
    fail "the library's tests are tests of the host"
}

subproject() {
  configure "$1" "$work/subproject" -DHOST_LIBRARY_SOURCE="$source" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
  build_host "$work/subproject"
  expect_nothing_but_headers
  run "$work/subproject/host"
}

subdirectory() {
  rm -rf "$work/subproject"
  subproject subdirectory
}

fetch_content() {
  subproject fetch_content
}

mkdir -p "$work"
: >"$log"
case $case in
  install | files | origin | find_package | strict | contacts | apart | pkg_config | subdirectory | fetch_content)
    "$case"
    ;;
  *) fail "unknown case" ;;
esac
echo "$case: as expected"
