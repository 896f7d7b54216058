# shellcheck shell=bash
# Sourced by the scripts: drawings that are kept beside their Graphviz sources, for
# readers of the repository. A drawing depends on the machine's fonts, so that it tells
# what source it was made from, instead of being compared.
#
#   render_diagrams FOLDER  makes the drawing of every source
#   check_diagrams FOLDER   fails unless each was made from its source as it is now

diagram_mark() { # SOURCE
  local sum
  sum=$(sha256sum "$1")
  printf '<!-- Made by scripts/docs.sh diagrams from %s, SHA-256 %s -->' "${1##*/}" "${sum%% *}"
}

render_diagrams() {
  local source drawing
  for source in "$1"/*.dot; do
    drawing=$(dot -Tsvg "$source") || return
    # In the place of Graphviz's own comments, which hold its version.
    {
      diagram_mark "$source"
      printf '\n'
      sed -n '/^<svg/,$p' <<<"$drawing"
    } >"${source%.dot}.svg"
  done
}

check_diagrams() {
  local source drawing stale=0
  for source in "$1"/*.dot; do
    drawing=${source%.dot}.svg
    if [[ ! -e $drawing ]] || ! grep -qxF -e "$(diagram_mark "$source")" "$drawing"; then
      printf '%s is older than its source: run scripts/docs.sh diagrams\n' "$drawing" >&2
      stale=1
    fi
  done
  return "$stale"
}
