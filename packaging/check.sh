#!/usr/bin/env bash
# Checks the packages of one architecture, and builds and runs an application with them.
# Use: check.sh TREE, the folder in which scripts/package.sh has built them.
# shellcheck disable=SC1091,SC2154 # packages.env
set -euo pipefail
shopt -s inherit_errexit
export LC_ALL=C

tree=$1
packages=$(realpath "$tree/../..")
source=$(realpath "$(dirname "${BASH_SOURCE[0]}")/..")
source "$tree/packages.env"
mapfile -t names < <(printf '%s\n' "${!components[@]}" | sort)
declare -A debs rpms
for name in "${names[@]}"; do
  debs[$name]=$packages/${name}_${version}_$architecture.deb
  rpms[$name]=$packages/$name-$version-1.$rpm_architecture.rpm
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$architecture: $1" >&2
  exit 1
}

# expect MESSAGE COMMAND...: the command succeeds; its output only if it does not.
expect() {
  "${@:2}" >"$work/log" 2>&1 || fail "$1: $(<"$work/log")"
}

unpack() {
  local name
  mkdir -p "$work/deb/var/lib/dpkg" "$work/rpm" "$work/control"
  for name in "${names[@]}"; do
    dpkg-deb --control "${debs[$name]}" "$work/control/$name"
    expect "$name" rpm --checksig --nosignature "${rpms[$name]}"
    DESTDIR=$work/installed/$name expect "$name" \
      cmake --install "$tree" --component "${components[$name]}" --prefix /usr
    rpm2cpio "${rpms[$name]}" | (cd "$work/rpm" && cpio --quiet -idm)
    # Another user than root cannot install.
    ((EUID == 0)) || dpkg-deb --extract "${debs[$name]}" "$work/deb"
  done
  if ((EUID == 0)); then
    : >"$work/deb/var/lib/dpkg/status"
    PATH=$PATH:/usr/sbin:/sbin expect 'they cannot be installed into an empty root' \
      dpkg --root="$work/deb" --force-depends --force-architecture --force-script-chrootless \
      --install "${debs[@]}"
  fi
  (cd "$work/deb" && cat "$work/control"/*/md5sums | md5sum --quiet --check) || fail 'a sum is wrong'
}

# Mode, owner and path of every file, and of folders that are not open to all.
files_of() { # deb|rpm|installed LIBDIR
  local name
  for name in "${names[@]}"; do
    case $1 in
      deb) dpkg-deb --contents "${debs[$name]}" | awk '{ print $1, $2, $6 }' ;;
      rpm) rpm --query --package "${rpms[$name]}" --queryformat \
        '[%{FILEMODES:perms} %{FILEUSERNAME}/%{FILEGROUPNAME} .%{FILENAMES}\n]' ;;
      installed) (cd "$work/installed/$name" && find . -type f -printf '%M root/root %p\n') ;;
    esac | sed "/^drwxr-xr-x root\/root /d; s|^|$name: |; /\.debug$/! s|/usr/$2/|/usr/LIBDIR/|"
  done | sort
}

# Both formats hold the files that their component installs.
expect_files() {
  files_of installed "$rpm_libdir" >"$work/files"
  diff -u "$work/files" <(files_of deb "$deb_libdir") || fail 'the .deb hold other files'
  diff -u "$work/files" <(files_of rpm "$rpm_libdir") || fail 'the .rpm hold other files'
}

# The least versions of other packages follow from their symbols: + stands for any.
expect_deb_fields() {
  local name
  for name in "${names[@]}"; do
    dpkg-deb --field "${debs[$name]}" Package Version Architecture Multi-Arch Section \
      Depends Provides Conflicts Maintainer
    (cd "$work/control/$name" && echo * && echo)
  done | sed -E "s/ \(>= [0-9.]+\)/+/g; s/\b${version//./\\.}\b/VERSION/
      s/^(Architecture: )$architecture$/\1ARCHITECTURE/" >"$work/fields"
  diff -u "$source/packaging/fields.txt" "$work/fields" || fail 'the .deb have other fields'
}

expect_rpm_relation() { # NAME requires|provides|conflicts RELATION...
  local missing
  [[ -n ${*: -1} ]] || fail "the check has no $2 for $1"
  missing=$(comm -13 <(rpm --query --package "${rpms[$1]}" "--$2" | sort -u) \
    <(printf '%s\n' "${@:3}" | sort -u))
  [[ -z $missing ]] || fail "the $2 of the .rpm $1 lack: $missing"
}

needed_by() { # LIBRARY
  readelf -dW "$work/rpm/usr/$rpm_libdir/$1" | sed -nE "s/.*\(NEEDED\).*\[(.*)\]$/\1$suffix/p"
}

expect_rpm_relations() {
  local name suffix=''
  [[ $rpm_libdir == lib ]] || suffix='()(64bit)'
  for name in libvorndatabase-dev libvorndatabase-dbgsym vorndb; do
    expect_rpm_relation "$name" requires "libvorndatabase = $version-1"
  done
  expect_rpm_relation libvorndatabase requires "libdlog.so$suffix" "$(needed_by libvorndatabase.so)"
  expect_rpm_relation libvorndatabase provides "libvorndatabase.so$suffix"
  expect_rpm_relation vorncheck requires /bin/sh "$(needed_by libvorncheck.so)"
  expect_rpm_relation vorn-desktop-stand-ins requires "libc.so.6$suffix" "$(needed_by libvornutil.so)"
  expect_rpm_relation vorn-desktop-stand-ins provides "libdlog.so$suffix" "libvornutil.so$suffix"
  expect_rpm_relation vorn-desktop-stand-ins conflicts libdlog libvornutil
}

# apt knows the packages of the machine's own architecture. It changes nothing.
expect_installable() {
  [[ $architecture == "$(dpkg --print-architecture)" ]] || return 0
  expect 'they cannot be installed' apt-get install --simulate "${debs[@]}"
  # The machine may have a platform.
  ! dpkg --status vorn-desktop-stand-ins >/dev/null 2>&1 || return 0
  apt-get install --simulate "${debs[libvorndatabase]}" >"$work/refusal" 2>&1 || true
  expect 'the library can be installed without a platform' \
    grep 'libvorndatabase : Depends: libdlog' "$work/refusal"
}

# The names of the libraries have no version, as on the device; no licence names a year.
expect_lintian() {
  expect 'lintian objects' lintian --allow-root --fail-on error,warning --suppress-tags \
    shared-library-lacks-version,package-name-doesnt-match-sonames,copyright-without-copyright-notice \
    "${debs[@]}"
}

expect_stripped_with_debug_file() {
  local root=$work/$format library=$work/$format/usr/$libdir/libvorndatabase.so
  local file identifier address line names
  for file in "$root/usr/$libdir"/*.so "$root/usr/bin/vorndb"; do
    ! grep -E '\.(symtab|debug_info)' <<<"$(readelf -SW "$file")" || fail "$file is not stripped"
    ! grep -E '\((RPATH|RUNPATH)\)' <<<"$(readelf -dW "$file")" || fail "$file has a run path"
  done
  identifier=$(readelf -n "$library" | sed -nE 's/^ *Build ID: ([0-9a-f]+)$/\1/p')
  file=$root/usr/lib/debug/.build-id/${identifier:0:2}/${identifier:2}.debug
  # As a debugger does: from the stripped library to the line of the source.
  address=$(nm -DC --defined-only "$library" | sed -nE 's/^([0-9a-f]+) T Database::Upsert\(.*/\1/p')
  line=$(eu-addr2line --debuginfo-path="$root/usr/lib/debug" -e "$library" "0x$address")
  [[ $line == */src/Database.cpp:* ]] || fail "the source of Database::Upsert is '$line'"
  # Compilers write either section.
  names=$(readelf -z -p .debug_str -p .debug_line_str "$file" 2>/dev/null)
  grep -q 'src/Database\.cpp' <<<"$names" || fail 'the debug information names no source'
  ! grep -F "$source" "$library" - <<<"$names" || fail 'it names the folder of the build'
}

# As tests/project/consume does with an installation.
build_applications() {
  local case
  for case in $ways; do
    VORN_VERSION=$version VORN_LIBDIR=$libdir VORN_PREFIX=$work/$format/usr VORN_EMULATOR=$emulator \
      CMAKE_TOOLCHAIN_FILE=$toolchain LDFLAGS=$linker_flags expect "$case" \
      "$source/tests/project/consume/consume_test.sh" "$case" "$source" /nonexistent "$work/hosts" \
      "$(type -P cmake)" "$compiler"
  done
}

run_tools() {
  local libraries=$work/$format/usr/$libdir programs=$work/$format/usr/bin status=0
  local -a words run tool checker
  read -ra words <<<"$emulator"
  run=(env LD_LIBRARY_PATH="$libraries" "${words[@]/#LD_LIBRARY_PATH=/LD_LIBRARY_PATH=$libraries:}")
  tool=("$programs/vorndb" -f "$work/$format.db")
  "${run[@]}" "${tool[@]}" create contact name:TEXT
  "${run[@]}" "${tool[@]}" upsert contact name="O'Brien"
  diff - <("${run[@]}" "${tool[@]}" select contact --format csv) <<<$'_ID,name\n1,O\'Brien' ||
    fail 'the tool fails'
  checker=("$programs/vorncheck")
  # The launcher would start the application without the emulator.
  [[ -z $emulator ]] || checker=(-E "LD_PRELOAD=$libraries/libvorncheck.so")
  "${run[@]}" "${checker[@]}" "${tool[@]}" delete contact --all >"$work/log" 2>&1 || status=$?
  ((status == 3)) || fail "the checker ends with status $status: $(<"$work/log")"
}

for step in unpack expect_files expect_deb_fields expect_rpm_relations expect_installable \
  expect_lintian; do
  echo "$architecture: $step"
  "$step"
done
# CMake does not look into lib64 here.
for use in "deb $deb_libdir find_package pkg_config" "rpm $rpm_libdir pkg_config"; do
  read -r format libdir ways <<<"$use"
  echo "$architecture: use of the .$format"
  expect_stripped_with_debug_file
  build_applications
  run_tools
done
