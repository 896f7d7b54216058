#!/usr/bin/env bash
# Makes the packages twice, from copies of the tracked files in different folders, with
# other permissions for new files and another time zone, and compares them byte by byte:
#
#   scripts/reproducible.sh [made] [amd64] [armhf]     both architectures by default
#
# With made it makes them once, and compares them with those in build/packages.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

require_arguments '(made( |$))?((amd64|armhf)( |$))*' "$@"
require_packages git
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -c safe.directory="$PWD" log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# make_packages FOLDER UMASK ZONE ARCHITECTURE...: the copies share the target's packages.
make_packages() (
  umask "$2"
  mkdir -p "$1/build"
  git -c safe.directory="$PWD" ls-files -z | xargs -0 cp --parents --target-directory="$1"
  if [[ -e build/sysroot ]]; then
    cp -R build/sysroot "$1/build"
  fi
  TZ=$3 "$1/scripts/package.sh" "${@:4}"
)

first=$PWD
if [[ ${1:-} == made ]]; then
  shift
else
  first=$work/one
  run_quietly '== reproducible: first packages' make_packages "$first" 022 UTC "$@"
fi
second=$work/another/folder/with/a/longer/name
run_quietly '== reproducible: second packages' \
  make_packages "$second" 077 Asia/Kathmandu "$@"

cd "$second/build/packages"
for package in *.deb *.rpm; do
  cmp "$package" "$first/build/packages/$package"
done
echo "== reproducible: the same"
