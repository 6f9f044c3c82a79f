#!/usr/bin/env bash
# Checks that the manual page, the program's help and the completion name the same options and
# operators.
#
#   manual_test.sh PROGRAM
set -euo pipefail

program=$1
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Options of a text.
options() { grep -oE -- '(^|[[ ,])-{1,2}[a-z]+[0-9]*' | tr -d '[ ,' | sort -u; }

"$program" -help >"$work/help"
sed 's/\\-/-/g; s/\\f.//g; s/^\.B[IR]* //; s/ *" *//g; s/ = /=/g' "$root/docs/lumomixcalc.1" >"$work/manual"

compare() {
  diff "$work/$1.help" "$work/$1.manual" || {
    echo "The help (<) and the manual page (>) name other $1." >&2
    exit 1
  }
}
for what in help manual; do
  options <"$work/$what" >"$work/options.$what"
done
compare options
sed -nE 's|^ +(-operator=[^ ]+).*|\1|p' "$work/help" | sed 's/.*=//' | sort >"$work/operators.help"
sed -n '/^a1+b2 /,/^1+b_pow_a /p' "$work/manual" | awk '{print $1}' | sort >"$work/operators.manual"
compare operators

# shellcheck source=/dev/null
source "$root/packaging/lumomixcalc.bash"
for method in $(_lumomixcalc_words -resampling= </dev/null | sed 's/.*=//'); do
  grep -q "$method" "$work/help" || {
    echo "The completion offers -resampling=$method, the help does not." >&2
    exit 1
  }
done
