#!/usr/bin/env bash
# Unpacks what the device's builds need of Debian's target packages, SQLite and what
# the tool is made with, into build/sysroot/ARCH. Installs nothing, and needs no root: Debian's packages of two
# architectures often cannot be installed side by side. Remove the folder to have
# them anew.
#
#   scripts/sysroot.sh armhf|armel

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

usage='usage: scripts/sysroot.sh armhf|armel'
case "$#:${1:-}" in
  1:armhf | 1:armel) ;;
  1:-h | 1:--help)
    echo "$usage"
    exit
    ;;
  *)
    echo "$usage" >&2
    exit 2
    ;;
esac
architecture=$1
sysroot=$PWD/build/sysroot/$architecture
packages=(libsqlite3-0 libsqlite3-dev libcli11-dev nlohmann-json3-dev libcsv3 libcsv-dev
  libutf8proc2 libutf8proc-dev)
# What our own packages depend on is read from these; they lie in shlibs/NAME, away
# from what the compiler finds.
shlibs_packages=(libc6 libgcc-s1 libsqlite3-0 libstdc++6 libcsv3 libutf8proc2)

# A sysroot is moved to its place when it is complete, with what was asked for in it.
request="${packages[*]} ${shlibs_packages[*]}"
if [[ -e $sysroot/request && $(<"$sysroot/request") == "$request" ]]; then
  exit
fi

mkdir -p build/sysroot
work=$(mktemp -d "$PWD/build/sysroot/$architecture.XXXXXX")
trap 'rm -rf "$work"' EXIT

# The machine's own sources, for another architecture, with lists of their own.
apt() {
  apt-get -o "APT::Architecture=$architecture" -o "APT::Architectures=$architecture" \
    -o "Dir::State=$work/state" -o "Dir::State::status=$work/state/status" \
    -o "Dir::Cache=$work/cache" -o APT::Sandbox::User= -o Acquire::Retries=3 "$@"
}

fetch() {
  mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial" "$work/packages"
  : >"$work/state/status"
  # A source without this architecture may fail; the download tells whether it matters.
  apt update || echo "Not all sources could be read for $architecture." >&2
  (cd "$work/packages" && apt download "${packages[@]}" "${shlibs_packages[@]}")
}

unpack() {
  local name
  mkdir -p "$work/root/shlibs" || return
  for name in "${packages[@]}"; do
    dpkg-deb --extract "$work/packages/$name"_*.deb "$work/root" || return
  done
  for name in "${shlibs_packages[@]}"; do
    dpkg-deb --raw-extract "$work/packages/$name"_*.deb "$work/root/shlibs/$name" || return
  done
  (cd "$work/packages" && printf '%s\n' *.deb) >"$work/root/packages" || return
  echo "$request" >"$work/root/request" || return
  rm -rf "$sysroot"
  mv "$work/root" "$sysroot"
}

run_quietly "== sysroot $architecture: fetch" fetch
run_quietly "== sysroot $architecture: unpack" unpack
