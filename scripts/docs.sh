#!/usr/bin/env bash
# Makes the site of the interface in build/docs/html, and checks it:
#
#   scripts/docs.sh              the site; fails if something public is undocumented,
#                                a link is dead, or a page differs from the repository
#   scripts/docs.sh screenshots  the site, and what it looks like on a desktop and on a
#                                phone, in build/docs/screenshots

set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh

usage() {
  echo 'usage: scripts/docs.sh [screenshots]'
}

version() {
  sed -nE '/^project\(/,/\)/s/.*VERSION ([0-9.]+).*/\1/p' CMakeLists.txt
}

run_doxygen() {
  local number
  number=$(version)
  [[ -n $number ]] || {
    echo 'docs.sh: no version in CMakeLists.txt' >&2
    return 1
  }
  {
    cat docs/Doxyfile
    cat <<CONFIGURATION
PROJECT_NUMBER   = $number
OUTPUT_DIRECTORY = build/docs
CONFIGURATION
  } >build/docs/Doxyfile
  doxygen build/docs/Doxyfile && python3 scripts/lib/finish.py build/docs/html
}

# It prints the log's messages for the site.
build_tool() {
  cmake --preset release && cmake --build --preset release --target vorndb
}

pages=(README.md CONTRIBUTING.md CHANGELOG.md abi/README.md docs/*.md)

check_pages() {
  python3 scripts/lib/links.py pages "${pages[@]}"
}

check_texts() {
  python3 scripts/lib/texts.py build/docs/html "${pages[@]}"
}

check_site() {
  python3 scripts/lib/links.py site build/docs/html
}

make_site() {
  require_packages "${docs_packages[@]}"
  rm -rf build/docs
  mkdir -p build/docs
  run_quietly '== docs: tool' build_tool
  run_quietly '== docs: site' run_doxygen
  run_quietly '== docs: links of the repository' check_pages
  run_quietly '== docs: links of the site' check_site
  run_quietly '== docs: texts of the site' check_texts
  echo '== docs: done; the site begins at build/docs/html/index.html'
}

# Of every page, since none may be wider than the screen.
draw_screens() {
  local -a pages
  mapfile -t pages < <(basename --suffix=.html build/docs/html/*.html)
  python3 scripts/lib/screenshots.py build/docs/html build/docs/screenshots "${pages[@]}"
}

make_screenshots() {
  require_packages "${docs_packages[@]}" "${screenshot_packages[@]}"
  make_site
  run_quietly '== docs: screenshots' draw_screens
  echo '== docs: done; the screenshots are in build/docs/screenshots'
}

export LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1

case "$#:${1:-}" in
  0:) make_site ;;
  1:screenshots) make_screenshots ;;
  1:-h | 1:--help) usage ;;
  *)
    usage >&2
    exit 2
    ;;
esac
