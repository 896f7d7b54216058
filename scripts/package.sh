#!/usr/bin/env bash
# Makes the packages, .deb and .rpm, in build/packages/, or checks those there:
#
#   scripts/package.sh [amd64|armhf]...          both by default
#   scripts/package.sh check [amd64|armhf]...
#
# Their files carry the time SOURCE_DATE_EPOCH, by default the last commit's.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

usage='usage: scripts/package.sh [check] [amd64|armhf]...'
packages=$PWD/build/packages
export LC_ALL=C.UTF-8
# Folders in packages are open to all.
umask 022

# --- Architectures -----------------------------------------------------------------

# The names that others have for Debian's architecture.
select_architecture() {
  architecture=$1
  toolchain=()
  unpacked=
  case $architecture in
    amd64)
      triplet=x86_64-linux-gnu
      rpm_architecture=x86_64
      rpm_libdir=lib64
      ;;
    armhf)
      triplet=arm-linux-gnueabihf
      rpm_architecture=armv7hl
      rpm_libdir=lib
      toolchain=(--toolchain cmake/toolchains/armhf.cmake)
      unpacked=$PWD/build/sysroot/armhf/shlibs
      ;;
  esac
  tree=$packages/tree/$architecture
}

# --- Making them -------------------------------------------------------------------

set_time() {
  if [[ -z ${SOURCE_DATE_EPOCH:-} ]]; then
    SOURCE_DATE_EPOCH=$(git -c safe.directory="$PWD" log -1 --format=%ct 2>/dev/null) || {
      {
        echo 'package.sh: there is no commit to take the time of the files from. Give them one:'
        # shellcheck disable=SC2016 # for the reader to run
        echo 'SOURCE_DATE_EPOCH=$(date +%s) scripts/package.sh'
      } >&2
      exit 1
    }
  fi
  export SOURCE_DATE_EPOCH
}

# configure LIBDIR OPTION...
configure() {
  local libdir=$1
  shift
  cmake -S . -B "$tree" -G Ninja "${toolchain[@]}" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_LIBDIR="$libdir" -DCMAKE_INSTALL_DOCDIR=share/doc/libvorndatabase-dev \
    -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_PACKAGES=ON \
    -DVORN_DEBIAN_ARCHITECTURE="$architecture" -DVORN_RPM_ARCHITECTURE="$rpm_architecture" "$@"
}

# dependencies_of LIBRARY...: the packages, in the versions that have the symbols
# which are needed. Those of another architecture are unknown to this machine, and
# read from where they were unpacked. The platform's libraries are of no package.
dependencies_of() {
  local package dependencies
  local -a options=(-l"$tree/platform" -l"$tree/src")
  for package in ${unpacked:+"$unpacked"/*}; do
    options+=(-S"$package")
  done
  mkdir -p "$tree/shlibdeps/debian" || return
  printf 'Source: vorndatabase\n\nPackage: libvorndatabase\nArchitecture: any\n' \
    >"$tree/shlibdeps/debian/control"
  dependencies=$(
    cd "$tree/shlibdeps"
    DEB_HOST_ARCH=$architecture dpkg-shlibdeps --ignore-missing-info "${options[@]}" -O "$@"
  ) || return
  [[ $dependencies == shlibs:Depends=* ]] || return
  printf '%s\n' "${dependencies#shlibs:Depends=}"
}

# The packages of one format, from the tree as it was configured last.
pack() {
  rm -rf "$tree/packed"
  (cd "$tree" && cpack -G "$1" -B "$tree/packed")
}

pack_deb() {
  local runtime tool stand_ins package
  runtime=$(dependencies_of "$tree/src/libvorndatabase.so") || return
  tool=$(dependencies_of "$tree/tools/vorndb/vorndb") || return
  stand_ins=$(dependencies_of "$tree"/platform/*.so) || return
  configure "lib/$triplet" \
    -DVORN_RUNTIME_DEPENDS="$runtime" -DVORN_TOOL_DEPENDS="$tool" -DVORN_STAND_INS_DEPENDS="$stand_ins" || return
  pack DEB || return
  for package in "$tree"/packed/*.deb; do
    rebuild_deb "$package" || return
  done
}

# CPack knows neither the field Multi-Arch nor a fixed order and time of the files. Of a
# program one architecture is enough, and serves all; of libraries each has its own.
rebuild_deb() {
  local package=$1 content=$tree/packed/content multi_arch=same
  if [[ ${package##*/} == vorndb_* ]]; then
    multi_arch=foreign
  fi
  dpkg-deb --raw-extract "$package" "$content" &&
    sed -i 's/^Architecture: .*/&\nMulti-Arch: '"$multi_arch/" "$content/DEBIAN/control" &&
    find "$content" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} + &&
    dpkg-deb --root-owner-group --build "$content" "$packages/$(basename "$package")" &&
    rm -rf "$content"
}

pack_rpm() {
  configure "$rpm_libdir" && pack RPM && cp "$tree"/packed/*.rpm "$packages"
}

make_packages() {
  if [[ $architecture == armhf ]]; then
    scripts/sysroot.sh armhf
  fi
  rm -rf "$tree" "$packages"/*"_$architecture.deb" "$packages"/*".$rpm_architecture.rpm"
  run_quietly "== $architecture: configure" configure "lib/$triplet"
  run_quietly "== $architecture: build" cmake --build "$tree"
  run_quietly "== $architecture: .deb" pack_deb
  run_quietly "== $architecture: .rpm" pack_rpm
}

check_packages() {
  echo "== $architecture: check"
  packaging/check_packages.sh "$packages" \
    "$architecture" "$triplet" "$rpm_architecture" "$rpm_libdir"
}

# --- The command -------------------------------------------------------------------

action=make_packages
if [[ ${1:-} == check ]]; then
  action=check_packages
  shift
fi
for argument in "$@"; do
  case $argument in
    amd64 | armhf) ;;
    -h | --help)
      echo "$usage"
      exit
      ;;
    *)
      echo "$usage" >&2
      exit 2
      ;;
  esac
done
if (($# == 0)); then
  set -- amd64 armhf
fi

if [[ $PWD == *[[:blank:]]* ]]; then
  echo "package.sh: rpmbuild takes no folder with a blank: $PWD" >&2
  exit 1
fi
require_packages "${build_packages[@]}" "${tool_packages[@]}" "${package_packages[@]}"
if [[ " $* " == *' armhf '* ]]; then
  require_packages "${armhf_packages[@]}"
fi
if [[ $action == make_packages ]]; then
  set_time
fi
mkdir -p "$packages"
for argument in "$@"; do
  select_architecture "$argument"
  "$action"
done
if [[ $action == make_packages ]]; then
  echo '== packages'
  printf '%s\n' build/packages/*.deb build/packages/*.rpm
fi
