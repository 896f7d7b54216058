#!/usr/bin/env bash
# Unpacks Debian's target packages for the cross builds into build/sysroot/ARCHITECTURE:
#
#   scripts/sysroot.sh armhf|armel
#
# It installs nothing and needs no root: Debian's packages of two architectures often
# cannot be installed side by side. Remove the folder to fetch them again.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

require_arguments 'armhf|armel' "$@"
architecture=$1
sysroot=$PWD/build/sysroot/$1
packages=(libsqlite3-0 libsqlite3-dev libcli11-dev nlohmann-json3-dev libcsv3 libcsv-dev
  libutf8proc2 libutf8proc-dev libdw1 libdw-dev libelf1 libelf-dev libbz2-1.0 liblzma5 zlib1g
  libgtest-dev libgmock-dev)
# The dependencies of our packages are derived from these. They are in shlibs/NAME, where no
# compiler looks.
shlibs=(libc6 libgcc-s1 libsqlite3-0 libstdc++6 libcsv3 libutf8proc2 libdw1)

# A complete sysroot is moved to its place, with its request.
request="${packages[*]} ${shlibs[*]}"
if [[ -e $sysroot/request && $(<"$sysroot/request") == "$request" ]]; then
  exit
fi
work=$(mkdir -p build/sysroot && mktemp -d "$sysroot.XXXXXX")
trap 'rm -rf "$work"' EXIT

# The machine's own sources, with package lists of another architecture.
apt() {
  apt-get -o "APT::Architecture=$architecture" -o "APT::Architectures=$architecture" \
    -o "Dir::State=$work/state" -o "Dir::State::status=$work/state/status" \
    -o "Dir::Cache=$work/cache" -o APT::Sandbox::User= -o Acquire::Retries=3 "$@"
}

fetch() {
  mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial" "$work/debs"
  : >"$work/state/status"
  # A source may lack this architecture: the download fails if that matters.
  apt update || :
  cd "$work/debs" && apt download "${packages[@]}" "${shlibs[@]}"
}

unpack() {
  local name
  mkdir -p "$work/root/shlibs"
  for name in "${packages[@]}"; do
    dpkg-deb --extract "$work/debs/$name"_*.deb "$work/root" || return
  done
  # The linker and the emulator look into /usr alone.
  cp -R "$work/root/lib" "$work/root/usr" || return
  for name in "${shlibs[@]}"; do
    dpkg-deb --raw-extract "$work/debs/$name"_*.deb "$work/root/shlibs/$name" || return
  done
  echo "$request" >"$work/root/request"
  rm -rf "$sysroot" && mv "$work/root" "$sysroot"
}

run_quietly "== sysroot $architecture: fetch" fetch
run_quietly "== sysroot $architecture: unpack" unpack
