#!/usr/bin/env bash
# Checks that the manual pages, the programs' help and the completion name the same options,
# operators and methods.
#
#   manual_test.sh PROGRAM
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$1" -help >"$work/help"
sed 's/\\-/-/g; s/\\f.//g; s/^\.B[IR]* //; s/ *" *//g; s/ = /=/g' "$root/docs/lumomixcalc.1" >"$work/manual"
sed -nE 's|^ +-operator=([^ ]+).*|\1|p' "$work/help" >"$work/help.names"
sed -n '/^a1+b2 /,/^1+b_pow_a /p' "$work/manual" | cut -d' ' -f1 >"$work/manual.names"
for text in help manual; do
  grep -oE -- '(^|[[ ,])-{1,2}[a-z]+[0-9]*' "$work/$text" | tr -d '[ ,' >>"$work/$text.names"
  sort -u -o "$work/$text.names" "$work/$text.names"
done
diff "$work/help.names" "$work/manual.names" # the help's are marked by <, the manual page's by >

"$root/packaging/slurm/lumomixcalc-slurm" -help | sed -n 's/^Usage: //p' >"$work/usage"
sed -n '/SYNOPSIS/,/^\.br/s/^\.[BIR]* //p' "$root/docs/lumomixcalc-slurm.1" >"$work/synopsis"
diff <(tr -d ' \n' <"$work/usage") <(tr -d ' "\\\n' <"$work/synopsis")

# shellcheck source=/dev/null
source "$root/packaging/lumomixcalc.bash"
# What bash shows for the beginning of a word.
cd "$work"
told=
compopt() { told+=" $*"; }
for completed in -file1=help.n:help.names -looks:-looks= -operator=a1_:a1_conj_b2 \
  -mode=cf:cfloat32 -overw:-overwrite -nodata=:keep -a:'-a_nodata= -a=' \
  "-stats=$work/syn:$work/synopsis" "$work/usa:$work/usage"; do
  COMP_WORDS=("$1") COMP_LINE="lumomixcalc ${completed%:*}"
  COMP_POINT=${#COMP_LINE}
  _lumomixcalc || true
  [[ ${COMPREPLY[*]} == "${completed#*:}" ]] || {
    echo "The completion of ${completed%:*} is ${COMPREPLY[*]}, not ${completed#*:}." >&2
    exit 1
  }
done
[[ $told == *nospace* ]] # no blank after -looks=
