#!/usr/bin/env bash
# Installs the program into an empty folder, and follows the links of the documents there.
#
#   documents_test.sh BUILD_FOLDER
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --component program --prefix "$work" >/dev/null
cd "$work"/share/doc/*

# The links of a page, a line each, and the names that its headings can be linked by.
links() { grep -oE '\]\([^)]+\)' "$1" | sed 's/^](//; s/)$//' | grep -v '^https\?:' || true; }
headings() { sed -n 's/^##* //p' "$1" | tr '[:upper:] ' '[:lower:]-' | tr -cd '[:alnum:]\n_-'; }

followed=0
while read -r page; do
  while IFS='#' read -r file heading; do
    target=${file:+$(dirname "$page")/$file}
    [[ -e ${target:=$page} ]] || dangling="$file, which is not installed"
    [[ -z $heading ]] || headings "$target" | grep -qxF -- "$heading" || dangling="$file#$heading"
    [[ -z ${dangling-} ]] || {
      echo "$page links to $dangling" >&2
      exit 1
    }
    ((++followed))
  done < <(links "$page")
done < <(find . -name '*.md')
((followed > 20)) || {
  echo "only $followed links were found in $PWD" >&2
  exit 1
}
