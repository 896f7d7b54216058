#!/usr/bin/env bash
# Installs the library, and builds and runs hosts that use it in every way of the README.
# The cases leave results in the work directory for each other, as CMakeLists.txt orders
# them.
# Use: consume_test.sh CASE SOURCE_DIRECTORY BUILD_DIRECTORY WORK_DIRECTORY CMAKE CXX_COMPILER
# with VORN_VERSION, VORN_LIBDIR and VORN_CONFIGURATION; for a cross build with VORN_EMULATOR,
# CMAKE_TOOLCHAIN_FILE and LDFLAGS; and for hosts of installed packages with their VORN_PREFIX.
set -euo pipefail
export LC_ALL=C CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja}
# Hosts get only the settings given here.
unset DESTDIR VORN_DLOG_PRIORITY CMAKE_PREFIX_PATH PKG_CONFIG_PATH LD_LIBRARY_PATH LIBRARY_PATH CPATH

case=$1
source=$2
build=$3
work=$4
cmake=$5
compiler=$6

libdir=$VORN_LIBDIR
components=(runtime development stand_ins tool checker)
# Installations are used in another place: all in one, and the library apart from the
# platform.
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
  mkdir -p "$library"
  for component in "${components[@]}"; do
    "$cmake" --install "$build" --component "$component" --prefix "$work/installed/$component" \
      >>"$log" 2>&1 || fail "the component $component cannot be installed"
  done
  mkdir "$prefix"
  cp -R "$work"/installed/*/. "$prefix"
  cp -R "$work"/installed/{runtime,development}/. "$library"
  cp -R "$work/installed/stand_ins" "$platform"
  # The first place must not be used from here on.
  mv "$work/installed" "$work/moved/components"
}

expected_files() {
  cd "$source"
  find include -name '*.h' -printf 'development include/vorndatabase/%P\n'
  printf 'development lib/cmake/vorndatabase/vorndatabase%s.cmake\n' Config ConfigVersion \
    Targets Targets-CONFIGURATION
  echo 'development lib/pkgconfig/vorndatabase.pc'
  printf 'development share/doc/vorndatabase/%s\n' {README,CHANGELOG,CONTRIBUTING,abi/README}.md
  find docs \( -name '*.svg' -o -name '*.md' -not -name mainpage.md \) \
    -printf 'development share/doc/vorndatabase/%p\n'
  echo 'runtime lib/libvorndatabase.so'
  find platform -name '*.h' -printf 'stand_ins include/%f\n'
  printf 'stand_ins lib/lib%s.so\n' dlog vornutil
  echo 'checker lib/libvorncheck.so'
  local component program
  while read -r component program; do
    printf "$component %s\n" "bin/$program" "share/man/man1/$program.1" \
      "share/bash-completion/completions/$program" \
      "share/fish/vendor_completions.d/$program.fish" "share/zsh/vendor-completions/_$program"
  done <<<$'tool vorndb\nchecker vorncheck'
}

# Component and name of every file, without the names that differ between machines.
files() {
  local component
  for component in "${components[@]}"; do
    (cd "$work/moved/components/$component" && find . -not -type d -printf "$component %P\n")
  done | sed -E "s|^([^ ]+) $libdir/|\1 lib/|; s|(Targets)-[a-z]+\.cmake$|\1-CONFIGURATION.cmake|" |
    sort >"$work/files.txt"
  diff -u <(expected_files | sort) "$work/files.txt" || fail "other files are installed"
}

# No installed file names a folder of the build, and only the library has a run path. (The
# documents are copies, whose example of a checkout may be this one.)
origin() {
  local file paths
  local -a skipped=(--exclude-dir=doc)
  # Unoptimised builds are for the debugger, which has to find the sources.
  [ "$VORN_CONFIGURATION" != Debug ] || skipped+=(--exclude=*.so --exclude=vorn{db,check})
  if grep -rlF "${skipped[@]}" -e "$source" -e "$work" "$prefix"; then
    fail "the files above name folders of the build"
  fi
  for file in "$prefix/$libdir"/*.so; do
    paths=$(readelf -dW "$file" | sed -nE 's/.*\((RPATH|RUNPATH)\).*\[(.*)\]/\2/p')
    [ "$paths" = "$(if [[ $file == */libvorndatabase.so ]]; then echo "\$ORIGIN"; fi)" ] ||
      fail "the run path of $file is '$paths'"
  done
}

# --- Building and running a host -------------------------------------------------

# configure WAY FOLDER ARGUMENT...
configure() {
  "$cmake" -S "$source/tests/project/consume/host" -B "$2" -DCMAKE_CXX_COMPILER="$compiler" \
    -DHOST_WAY="$1" "${@:3}" >>"$log" 2>&1 || fail "the host's project does not configure"
}

build_host() {
  rm -f "$1/host"
  "$cmake" --build "$1" >>"$log" 2>&1 || fail "the host does not build"
}

# run PROGRAM [DIRECTORY]: in an empty folder; with this further directory for shared
# libraries, if they are not beside the library.
run() {
  local -a emulator
  rm -rf "${work:?}/$case.data"
  mkdir "$work/$case.data"
  read -ra emulator <<<"${VORN_EMULATOR:-}"
  if [ -n "${2:-}" ]; then
    export LD_LIBRARY_PATH=$2
    # An emulated program has a path of its own.
    emulator=("${emulator[@]/#LD_LIBRARY_PATH=/LD_LIBRARY_PATH=$2:}")
  fi
  "${emulator[@]}" "$1" "$work/$case.data" >"$work/$case.out" 2>>"$log" || fail "the host fails"
  diff -u - "$work/$case.out" <<'END' || fail "the host prints something else"
PT Portugal
CI Cote d'Ivoire
2 rows
END
  [ -s "$work/$case.data/host.db" ] || fail "there is no database file"
  [ "$(grep -cE '^I VORN .* Upsert\([0-9]+\) > Upsert SUCCESS\[0\]$' "$log")" = 2 ] ||
    fail "standard error does not have the log of two upserts"
  sed -i '/ VORN /d' "$log"
}

# with_package FOLDERS: a host that finds the library below FOLDERS. A cross build looks
# below its roots alone.
with_package() {
  rm -rf "${work:?}/$case"
  configure find_package "$work/$case" -DHOST_LIBRARY_VERSION="$VORN_VERSION" \
    -DCMAKE_PREFIX_PATH="$1" ${CMAKE_TOOLCHAIN_FILE:+-DCMAKE_FIND_ROOT_PATH="$1"}
  build_host "$work/$case"
}

# --- Installed libraries ---------------------------------------------------------

# Packages leave the search for libraries to the system.
find_package() {
  with_package "$prefix"
  run "$work/$case/host" ${VORN_PREFIX:+"$prefix/$libdir"}
  run "$work/$case/strict" ${VORN_PREFIX:+"$prefix/$libdir"}
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
  # It escapes spaces in folders as a shell does.
  mapfile -t flags < <(pkg-config --cflags --libs vorndatabase | xargs -n 1)
  read -ra linker <<<"${LDFLAGS:-}"
  "$compiler" "$source/tests/project/consume/host/main.cpp" "${flags[@]}" "${linker[@]}" \
    "-Wl,-rpath,$prefix/$libdir" -o "$work/pkg_config_host" >>"$log" 2>&1 || fail "the host does not build"
  run "$work/pkg_config_host" ${VORN_PREFIX:+"$prefix/$libdir"}
}

# --- As a part of the host's project ---------------------------------------------

# The compiler's command line for the host's source in a target, without the target's name.
command_line() {
  sed -nE "s|^ *\"command\": \"(.*CMakeFiles/$1\.dir/main\.cpp\.o.*)\",$|\1|p" \
    "$work/subproject/compile_commands.json" | sed "s|/$1\.dir/|/TARGET.dir/|g" | tr -s ' '
}

# Using the library adds its headers and nothing else to the host.
expect_nothing_but_headers() {
  local host control option=" -I$source/include "
  host=$(command_line host)
  control=$(command_line control)
  [[ $source != *' '* ]] || option=" -I\\\"$source/include\\\" "
  [[ -n $control && $host == *"$option"* ]] || fail "the host does not get the headers: $host"
  [ "${host/"$option"/ }" = "$control" ] || fail "the host gets further options: $host"
  "$cmake" --install "$work/subproject" --prefix "$work/subproject/installed" >>"$log" 2>&1 ||
    fail "the host cannot be installed"
  [ ! -e "$work/subproject/installed" ] || fail "the library is installed with the host"
  grep -qx 'Total Tests: 0' <<<"$("${cmake%cmake}ctest" --test-dir "$work/subproject" -N)" ||
    fail "the library's tests are tests of the host"
}

# Both ways have one build folder, and so build the library once. How it is optimised does
# not matter here.
subproject() {
  configure "$case" "$work/subproject" -DHOST_LIBRARY_SOURCE="$source" \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_CXX_FLAGS=-O0
  build_host "$work/subproject"
  expect_nothing_but_headers
  run "$work/subproject/host"
}

mkdir -p "$work"
: >"$log"
case $case in
  install | files | origin | find_package | apart | pkg_config) "$case" ;;
  subdirectory | fetch_content) subproject ;;
  *) fail "unknown case" ;;
esac
echo "$case: as expected"
