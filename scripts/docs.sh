#!/usr/bin/env bash
# Makes the site of the interface in build/docs/html. Fails if something public is
# undocumented, a link is dead, or a page differs from the repository:
#
#   scripts/docs.sh

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source=scripts/lib/packages.sh
source scripts/lib/packages.sh
export LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1

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
site=build/docs/html
require_arguments '' "$@"
require_packages "${test_packages[@]}" "${docs_packages[@]}"
rm -rf build/docs
mkdir -p build/docs
run_quietly '== docs: tool' build_tool
run_quietly '== docs: site' run_doxygen
run_quietly '== docs: links of the repository' python3 scripts/lib/links.py pages "${pages[@]}"
run_quietly '== docs: links of the site' python3 scripts/lib/links.py site "$site"
run_quietly '== docs: texts of the site' python3 scripts/lib/texts.py "$site" "${pages[@]}"
echo "== docs: done; the site begins at $site/index.html"
