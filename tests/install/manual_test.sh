#!/usr/bin/env bash
# Checks that the manual pages, the programs' help and the completion name the same options,
# operators and methods.
#
#   manual_test.sh PROGRAM
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fits() { # a terminal of 80 columns
  if grep -E '.{81}' "$1" | grep -v ^Usage; then exit 1; fi
}
"$1" -help >"$work/help"
fits "$work/help"
sed 's/\\-/-/g; s/\\f.//g; s/^\.B[IR]* //; s/ *" *//g; s/ = /=/g' "$root/docs/lumomixcalc.1" >"$work/manual"
sed -nE 's|^ +-operator=([^ ]+).*|\1|p' "$work/help" >"$work/help.names"
sed -n '/^a1+b2 /,/^\.fi/{/^\.fi/!p}' "$work/manual" | cut -d' ' -f1 >"$work/manual.names"
diff <("$1" -operators) <(sed -nE 's|^ +-operator=([^ ]+) +|\1\t|p' "$work/help")
for text in help manual; do
  grep -oE -- '(^|[[ ,])-{1,2}[a-z]+[0-9]*' "$work/$text" | tr -d '[ ,' >>"$work/$text.names"
  sort -u -o "$work/$text.names" "$work/$text.names"
done
diff "$work/help.names" "$work/manual.names" # the help's are marked by <, the manual page's by >

for script in lumomixcalc-coherence lumomixcalc-slurm; do
  "$root/packaging/$script" -help >"$work/help"
  fits "$work/help"
  sed -n 's/^Usage: //p' "$work/help" >"$work/usage"
  sed -n '/SYNOPSIS/,/^\.br/s/^\.[BIR]* //p' "$root/docs/$script.1" >"$work/syn=opsis"
  diff <(tr -d ' \n' <"$work/usage") <(sed 's/\\f.//g' "$work/syn=opsis" | tr -d ' "\\\n')
done
grep -oE -- '-[a-z]+=' "$root/docs/lumomixcalc-coherence.1" | sort -u |
  diff - <(grep -oE -- '-[a-z]+=' <("$root/packaging/lumomixcalc-coherence" -help) | sort -u)

# shellcheck source=/dev/null
source "$root/packaging/lumomixcalc.bash"
# What bash shows for the beginning of a word.
cd "$work"
told=
compopt() { told+=" $*"; }
PATH=$(dirname "$1"):$root/packaging:$PATH
completes() { # PROGRAM WORD:SHOWN...
  complete -p "${1##*/}" >/dev/null
  COMP_WORDS=("$1")
  for completed in "${@:2}"; do
    COMP_LINE="$1 ${completed%:*}"
    COMP_POINT=${#COMP_LINE}
    _lumomixcalc || true
    [[ ${COMPREPLY[*]} == "${completed#*:}" ]] || {
      echo "The completion of $COMP_LINE is ${COMPREPLY[*]}, not ${completed#*:}." >&2
      exit 1
    }
  done
}
completes lumomixcalc -file1=help.n:help.names -looks:-looks= -operator=a1_:a1_conj_b2 \
  -mode=cf:cfloat32 -overw:-overwrite -nodata=:keep -a:'-a_nodata= -a=' \
  -stats=./usa:./usage ./syn=o:./syn=opsis
[[ $told == *nospace* ]] # no blank after -looks=
HOME=$(dirname "$1") completes \~/lumomixcalc -overw:-overwrite
completes lumomixcalc-coherence -window:-window= -loo:-looks= -nodata=:keep -clamp:
completes lumomixcalc-slurm -operator=a1_:a1_conj_b2 -part:
