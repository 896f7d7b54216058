#!/usr/bin/env bash
# Makes the packages, .deb and .rpm, in build/packages/, or checks those there:
#
#   scripts/package.sh [check] [amd64] [armhf]     both architectures by default
#
# Their files have the time SOURCE_DATE_EPOCH, by default that of the last commit.

set -euo pipefail
shopt -s nullglob
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

packages=$PWD/build/packages
export LC_ALL=C.UTF-8
# Folders in packages are open to all.
umask 022

# configure LIBDIR OPTION...
configure() {
  local -a target=(-DVORN_RPM_ARCHITECTURE=x86_64)
  if [[ $architecture == armhf ]]; then
    target=(-DVORN_RPM_ARCHITECTURE=armv7hl --toolchain "$PWD/cmake/toolchains/armhf.cmake")
  fi
  cmake -S . -B "$tree" -G Ninja "${target[@]}" -DVORN_DEBIAN_ARCHITECTURE="$architecture" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_INSTALL_LIBDIR="$1" -DCMAKE_INSTALL_DOCDIR=share/doc/libvorndatabase-dev \
    -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_EXAMPLES=OFF -DVORN_BUILD_TOOLS=ON \
    -DVORN_BUILD_CHECKER=ON -DVORN_PACKAGES=ON "${@:2}"
}

# dependencies_of BINARY...: the packages whose symbols are needed, with their least
# versions. Those of another architecture are read from its sysroot. The libraries of the
# platform belong to no package.
dependencies_of() {
  local dependencies
  local -a foreign=("$PWD/build/sysroot/$architecture/shlibs"/*)
  mkdir -p "$tree/shlibdeps/debian" || return
  printf 'Source: vorndatabase\n\nPackage: libvorndatabase\nArchitecture: any\n' \
    >"$tree/shlibdeps/debian/control"
  dependencies=$(cd "$tree/shlibdeps" && DEB_HOST_ARCH=$architecture dpkg-shlibdeps \
    --ignore-missing-info -l"$tree/platform" -l"$tree/src" "${foreign[@]/#/-S}" -O "$@") &&
    [[ $dependencies == shlibs:Depends=* ]] && echo "${dependencies#*=}"
}

# The launcher has the folder of its library, which differs between the formats.
pack() { # FORMAT
  rm -rf "$tree/packed"
  cmake --build "$tree" && cpack --config "$tree/CPackConfig.cmake" -G "$1" -B "$tree/packed"
}

pack_deb() {
  local runtime tool checker stand_ins package
  runtime=$(dependencies_of "$tree/src/libvorndatabase.so") &&
    tool=$(dependencies_of "$tree/tools/vorndb/vorndb") &&
    checker=$(dependencies_of "$tree/tools/vorncheck/libvorncheck.so") &&
    stand_ins=$(dependencies_of "$tree"/platform/*.so) &&
    configure "$deb_libdir" -DVORN_RUNTIME_DEPENDS="$runtime" -DVORN_TOOL_DEPENDS="$tool" \
      -DVORN_CHECKER_DEPENDS="$checker" -DVORN_STAND_INS_DEPENDS="$stand_ins" &&
    pack DEB || return
  for package in "$tree"/packed/*.deb; do
    rebuild_deb "$package" || return
  done
}

# CPack has neither the field Multi-Arch nor a fixed order and time of the files. Libraries
# of several architectures can be installed side by side; one vorndb serves all, a vorncheck the
# applications of its own.
rebuild_deb() {
  local content=$tree/packed/content multi_arch=same
  case ${1##*/} in
    vorndb_*) multi_arch=foreign ;;
    vorncheck_*) multi_arch=no ;;
  esac
  dpkg-deb --raw-extract "$1" "$content" &&
    sed -i "s/^Architecture: .*/&\nMulti-Arch: $multi_arch/" "$content/DEBIAN/control" &&
    dpkg-deb --root-owner-group --build "$content" "$packages/${1##*/}" &&
    rm -rf "$content"
}

pack_rpm() {
  configure "$rpm_libdir" && pack RPM && cp "$tree"/packed/*.rpm "$packages"
}

make_packages() {
  local deb_libdir=lib/x86_64-linux-gnu rpm_libdir=lib64
  if [[ $architecture == armhf ]]; then
    deb_libdir=lib/arm-linux-gnueabihf rpm_libdir=lib
    scripts/sysroot.sh armhf
  fi
  rm -rf "$tree" "$packages"/*"_$architecture.deb"
  run_quietly "== $architecture: configure" configure "$deb_libdir"
  run_quietly "== $architecture: build" cmake --build "$tree"
  run_quietly "== $architecture: .deb" pack_deb
  run_quietly "== $architecture: .rpm" pack_rpm
}

require_arguments '(check( |$))?((amd64|armhf)( |$))*' "$@"
[[ $PWD != *[[:blank:]]* ]] ||
  { echo "package.sh: rpmbuild takes no folder with a space: $PWD" >&2 && exit 1; }
action=make_packages
if [[ ${1:-} == check ]]; then
  action=packaging/check.sh
  shift
fi
(($#)) || set -- amd64 armhf
require_packages "${build_packages[@]}" "${tool_packages[@]}" "${checker_packages[@]}" \
  "${package_packages[@]}"
[[ " $* " != *' armhf '* ]] || require_packages "${armhf_packages[@]}"
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -c safe.directory="$PWD" log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
for architecture in "$@"; do
  tree=$packages/tree/$architecture
  "$action" "$tree"
done
