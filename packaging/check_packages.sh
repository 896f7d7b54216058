#!/usr/bin/env bash
# Checks the packages of one architecture: what is in them, what they ask of others,
# and that a host can be built and run with what they install.
# Use: check_packages.sh PACKAGES ARCHITECTURE TRIPLET RPM_ARCHITECTURE RPM_LIBDIR
# as scripts/package.sh check does.
set -euo pipefail
export LC_ALL=C

packages=$1
architecture=$2
triplet=$3
rpm_architecture=$4
rpm_libdir=$5
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
source=$(realpath "$here/..")
version=$(sed -nE 's/^  VERSION ([0-9.]+)$/\1/p' "$source/CMakeLists.txt")
names=(libvorndatabase libvorndatabase-dbgsym libvorndatabase-dev vorn-desktop-stand-ins vorndb)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$architecture: $1" >&2
  exit 1
}

say() {
  echo "$architecture: $1"
}

deb() {
  echo "$packages/$1_${version}_$architecture.deb"
}

rpm_file() {
  echo "$packages/$1-$version-1.$rpm_architecture.rpm"
}

# --- What is in them -------------------------------------------------------------

# Mode, owner and name of every file but for directories, which must be open to all.
deb_files() {
  dpkg-deb --contents "$(deb "$1")" | awk -v name="$1" '
    { sub(/^\.\//, "", $6) }
    /^d/ { if ($1 != "drwxr-xr-x" || $2 != "root/root") print name, "DIRECTORY", $0; next }
    { print name, $1, $2, $6 }'
}

rpm_files() {
  rpm --query --package --queryformat \
    '[%{FILEMODES:perms} %{FILEUSERNAME}/%{FILEGROUPNAME} %{FILENAMES}\n]' "$(rpm_file "$1")" |
    awk -v name="$1" '
      { sub(/^\//, "", $3) }
      /^d/ { if ($1 != "drwxr-xr-x" || $2 != "root/root") print name, "DIRECTORY", $0; next }
      { print name, $0 }'
}

# expect_files FORMAT LIBDIR: both formats hold the same files.
expect_files() {
  local name
  for name in "${names[@]}"; do
    "${1}_files" "$name"
  done | sed -E "/\.debug$/! s|usr/$2/|usr/LIBDIR/|; s|\.build-id/../[0-9a-f]{38}|.build-id/IDENTIFIER|" |
    sort >"$work/files"
  diff -u "$here/files.txt" "$work/files" || fail "the files of the .$1 differ from files.txt"
  say "the .$1 hold the files that they should"
}

# --- What they ask of others and tell about themselves -----------------------------

expect_deb_fields() {
  local name
  for name in "${names[@]}"; do
    dpkg-deb --field "$(deb "$name")" Package Version Architecture Multi-Arch Section \
      Depends Provides Conflicts Maintainer
    dpkg-deb --info "$(deb "$name")" | sed -nE 's/^ +[0-9]+ bytes, +[0-9]+ lines +([a-z0-9]+) .*/\1/p' |
      paste -sd ' '
    echo
  done | sed "s/\b${version//./\\.}\b/VERSION/" >"$work/fields"
  diff -u "$here/fields_$architecture.txt" "$work/fields" ||
    fail "the fields of the .deb differ from fields_$architecture.txt"
  say "the .deb have the fields that they should"
}

# The libraries that a library needs, as rpm names them.
needed_by() {
  local suffix=
  grep -q 'Class: *ELF64' <<<"$(readelf -h "$1")" && suffix='()(64bit)'
  readelf -dW "$1" | sed -nE "s/.*\(NEEDED\).*\[(.*)\]$/\1$suffix/p"
}

# expect_rpm_relation NAME requires|provides|conflicts RELATION...
expect_rpm_relation() {
  local name=$1 kind=$2 relation
  shift 2
  for relation in "$@"; do
    grep -qxF -- "$relation" <<<"$(rpm --query --package "--$kind" "$(rpm_file "$name")")" ||
      fail "of the .rpm $name, '$relation' is missing in what it $kind"
  done
}

expect_rpm_relations() {
  local library=$work/rpm/usr/$rpm_libdir name suffix=
  local -a needed
  for name in "${names[@]}"; do
    [ "$(rpm --query --package --queryformat '%{NAME} %{VERSION} %{ARCH}' "$(rpm_file "$name")")" = \
      "$name $version $rpm_architecture" ] || fail "the .rpm $name has another name, version or architecture"
    rpm --checksig --nosignature "$(rpm_file "$name")" >"$work/log" || fail "$(<"$work/log")"
  done
  mapfile -t needed < <(needed_by "$library/libvorndatabase.so")
  ((${#needed[@]} >= 6)) || fail "the library needs only: ${needed[*]}"
  expect_rpm_relation libvorndatabase requires "${needed[@]}"
  mapfile -t needed < <(needed_by "$library/libvornutil.so")
  ((${#needed[@]} >= 2)) || fail "the stand-ins need only: ${needed[*]}"
  expect_rpm_relation vorn-desktop-stand-ins requires "${needed[@]}"
  [ "$rpm_libdir" = lib ] || suffix='()(64bit)'
  expect_rpm_relation libvorndatabase provides "libvorndatabase.so$suffix"
  expect_rpm_relation libvorndatabase-dev requires "libvorndatabase = $version-1"
  expect_rpm_relation libvorndatabase-dbgsym requires "libvorndatabase = $version-1"
  expect_rpm_relation vorndb requires "libvorndatabase = $version-1"
  expect_rpm_relation vorn-desktop-stand-ins provides "libdlog.so$suffix" "libvornutil.so$suffix"
  expect_rpm_relation vorn-desktop-stand-ins conflicts libdlog libvornutil
  say "the .rpm ask for what they need"
}

# On the machine's own architecture apt tells whether the packages go together. It
# changes nothing.
expect_installable() {
  if [ "$architecture" != "$(dpkg --print-architecture)" ]; then
    return 0
  fi
  local -a all
  mapfile -t all < <(for name in "${names[@]}"; do deb "$name"; done)
  apt-get install --simulate "${all[@]}" >"$work/log" 2>&1 || fail "they cannot be installed: $(<"$work/log")"
  if apt-get install --simulate "$(deb libvorndatabase)" >"$work/log" 2>&1; then
    fail "the library can be installed without the platform's libraries"
  fi
  grep -q 'libvorndatabase : Depends: libdlog' "$work/log" || fail "it is refused otherwise: $(<"$work/log")"
  say "the .deb can be installed, and the library not without a platform"
}

# The library's name has no version, as hosts expect, and so have the device's, two
# of which the stand-ins are; and no year can be named while there is no licence.
expect_lintian() {
  local -a all
  mapfile -t all < <(for name in "${names[@]}"; do deb "$name"; done)
  lintian --allow-root --fail-on error,warning --suppress-tags \
    shared-library-lacks-version,package-name-doesnt-match-sonames,copyright-without-copyright-notice \
    "${all[@]}" || fail "lintian objects"
  say "lintian has no objection"
}

# --- The libraries -----------------------------------------------------------------

# Into an empty root, of which the packages that they depend on are no part. Another
# user than root cannot install, but unpack.
install_debs() {
  local -a all
  mkdir -p "$work/deb/var/lib/dpkg"
  mapfile -t all < <(for name in "${names[@]}"; do deb "$name"; done)
  if ((EUID != 0)); then
    for name in "${all[@]}"; do
      dpkg-deb --extract "$name" "$work/deb"
    done
    return
  fi
  : >"$work/deb/var/lib/dpkg/status"
  PATH=$PATH:/usr/sbin:/sbin dpkg --root="$work/deb" --force-depends --force-architecture \
    --force-script-chrootless --install "${all[@]}" >"$work/log" 2>&1 ||
    fail "they cannot be installed into an empty root: $(<"$work/log")"
  local state
  state=$(dpkg-query --admindir="$work/deb/var/lib/dpkg" --show --showformat='${db:Status-Abbrev}\n')
  [ "$state" = "$(printf 'ii %.0s\n' "${names[@]}")" ] || fail "they are not installed: $state"
  say "the .deb are installed into an empty root"
}

unpack() {
  local name
  install_debs
  for name in "${names[@]}"; do
    mkdir -p "$work/rpm" "$work/control/$name"
    dpkg-deb --control "$(deb "$name")" "$work/control/$name"
    (cd "$work/deb" && md5sum --quiet --check "$work/control/$name/md5sums") || fail "a sum of $name is wrong"
    rpm2cpio "$(rpm_file "$name")" | (cd "$work/rpm" && cpio --quiet -idm)
  done
  grep -qx 'activate-noawait ldconfig' "$work/control/libvorndatabase/triggers" ||
    fail "the linker's cache is not brought up to date"
}

# expect_stripped_with_debug_file ROOT LIBDIR
expect_stripped_with_debug_file() {
  local root=$1 library=$1/usr/$2/libvorndatabase.so file identifier address line names
  for file in "$root/usr/$2"/*.so "$root/usr/bin/vorndb"; do
    if grep -E '\.(symtab|debug_info)' <<<"$(readelf -SW "$file")"; then
      fail "$file is not stripped"
    fi
    if grep -E '\((RPATH|RUNPATH)\)' <<<"$(readelf -dW "$file")"; then
      fail "$file has a run path"
    fi
  done
  identifier=$(readelf -n "$library" | sed -nE 's/^ *Build ID: ([0-9a-f]+)$/\1/p')
  file=$root/usr/lib/debug/.build-id/${identifier:0:2}/${identifier:2}.debug
  [ -e "$file" ] || fail "there is no debug information for the build $identifier"
  # What a debugger does: from the stripped library to the source's line.
  address=$(nm -DC --defined-only "$library" | sed -nE 's/^([0-9a-f]+) T Database::Upsert\(.*/\1/p')
  line=$(eu-addr2line --debuginfo-path="$root/usr/lib/debug" -e "$library" "0x$address")
  [[ $line == */src/Database.cpp:* ]] || fail "Database::Upsert is said to be in '$line'"
  # Not every compiler writes both of the sections.
  names=$(readelf -z -p .debug_str -p .debug_line_str "$file" 2>/dev/null)
  grep -q 'src/Database\.cpp' <<<"$names" || fail "the debug information names no source"
  if grep -F "$source" "$library" - <<<"$names"; then
    fail "it tells where it was built"
  fi
  say "$2: stripped, and Database::Upsert is found in ${line#*/src/}"
}

# --- A host ------------------------------------------------------------------------

# build_hosts ROOT LIBDIR CASE...: as the suite does with what it installs.
build_hosts() {
  local root=$1 libdir=$2 case
  shift 2
  for case in "$@"; do
    env "${environment[@]}" VORN_VERSION="$version" VORN_LIBDIR="$libdir" VORN_PREFIX="$root/usr" \
      "$source/tests/project/consume/consume_test.sh" "$case" "$source" /nonexistent "$work/hosts" \
      "$(type -P cmake)" "$compiler" >"$work/log" 2>&1 || fail "$case, $libdir: $(<"$work/log")"
    say "$libdir: a host is built and runs ($case)"
  done
}

# run_tool ROOT LIBDIR
run_tool() {
  local libraries=$1/usr/$2 variable database=$work/tool/app.db
  local -a emulator=()
  for variable in "${environment[@]}"; do
    if [[ $variable == VORN_EMULATOR=* ]]; then
      read -ra emulator <<<"${variable#*=}"
    fi
  done
  # An emulated program has a path of its own.
  emulator=("${emulator[@]/#LD_LIBRARY_PATH=/LD_LIBRARY_PATH=$libraries:}")
  emulator=(env LD_LIBRARY_PATH="$libraries" "${emulator[@]}" "$1/usr/bin/vorndb" -f "$database")
  rm -rf "$work/tool"
  mkdir "$work/tool"
  {
    "${emulator[@]}" create contact name:TEXT
    "${emulator[@]}" upsert contact name="O'Brien"
    "${emulator[@]}" select contact --format csv
  } >"$work/tool/out" 2>&1 || true
  diff - "$work/tool/out" <<<$'_ID,name\n1,O\'Brien' || fail "the tool says something else"
  say "$2: the tool runs"
}

# How hosts of another architecture are built and run, as its toolchain file has it.
set_environment() {
  compiler=$(type -P g++)
  environment=()
  local toolchain=$source/cmake/toolchains/$architecture.cmake
  if [ -e "$toolchain" ]; then
    compiler=$(type -P "$triplet-g++")
    mapfile -t environment < <(cmake -DTOOLCHAIN="$toolchain" -P "$here/environment.cmake")
    environment+=("CMAKE_TOOLCHAIN_FILE=$toolchain")
  fi
}

[ -n "$version" ] || fail "CMakeLists.txt does not tell the version"
for name in "${names[@]}"; do
  for file in "$(deb "$name")" "$(rpm_file "$name")"; do
    [ -e "$file" ] || fail "there is no $file; run scripts/package.sh $architecture"
  done
done
unpack
expect_files deb "lib/$triplet"
expect_files rpm "$rpm_libdir"
expect_deb_fields
expect_rpm_relations
expect_installable
expect_lintian
expect_stripped_with_debug_file "$work/deb" "lib/$triplet"
expect_stripped_with_debug_file "$work/rpm" "$rpm_libdir"
set_environment
build_hosts "$work/deb" "lib/$triplet" find_package pkg_config
build_hosts "$work/rpm" "$rpm_libdir" pkg_config
run_tool "$work/deb" "lib/$triplet"
run_tool "$work/rpm" "$rpm_libdir"
