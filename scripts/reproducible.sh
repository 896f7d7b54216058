#!/usr/bin/env bash
# Shows that the packages can be reproduced: makes them twice, from copies of the
# tracked files in different folders, with other permissions for new files and another
# time zone, and compares them byte by byte:
#
#   scripts/reproducible.sh [amd64|armhf]...          both by default
#   scripts/reproducible.sh made [amd64|armhf]...     the same, but makes them once and
#                                 compares them with those in build/packages

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

usage='usage: scripts/reproducible.sh [made] [amd64|armhf]...'
made=
if [[ ${1:-} == made ]]; then
  made=1
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

require_packages git
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -c safe.directory="$PWD" log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
first=${made:+$PWD}
first=${first:-$work/one}
second=$work/another/folder/with/a/longer/name

# copy FOLDER: the copies share the target's packages, which are the build's input.
copy() {
  mkdir -p "$1/build"
  git -c safe.directory="$PWD" ls-files -z | xargs -0 cp --parents --target-directory="$1"
  if [[ -e build/sysroot ]]; then
    cp -R build/sysroot "$1/build"
  fi
}

if [[ -z $made ]]; then
  echo '== reproducible: first packages'
  copy "$first"
  (umask 022 && TZ=UTC "$first/scripts/package.sh" "$@" >"$work/log")
fi
echo '== reproducible: second packages'
(
  umask 077
  copy "$second"
  TZ=Asia/Kathmandu "$second/scripts/package.sh" "$@" >"$work/log"
)

echo '== reproducible: compare'
status=0
for package in "$second"/build/packages/*.{deb,rpm}; do
  if cmp "$package" "$first/build/packages/${package##*/}"; then
    (cd "${package%/*}" && sha256sum "${package##*/}")
  else
    status=1
  fi
done
if ((status != 0)); then
  echo 'reproducible.sh: the packages above differ' >&2
fi
exit "$status"
