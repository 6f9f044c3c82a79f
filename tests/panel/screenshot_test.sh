#!/usr/bin/env bash
# Shows the panel on a screen and checks that its picture has the window's size and the colours of an
# interferogram in it.
#
#   screenshot_test.sh PROGRAM SIMULATE_RADAR_PAIR
set -euo pipefail

for tool in Xvfb import compare identify; do
  # The code by which CTest knows a skipped test.
  command -v "$tool" >/dev/null || exit 77
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$2" "$work" >/dev/null
printf '[display]\nResult=1\n' >"$work/panel.conf"
LUMOMIXCALC=$1 "$(dirname "${BASH_SOURCE[0]}")/../../scripts/panel-screenshot" \
  "$work/panel.png" "$work/panel.conf" -- "$work/reference.tif" "$work/secondary.tif" \
  "$work/out.tif" -operator=a1_conj_b2
read -r size colours < <(identify -format '%wx%h %k\n' "$work/panel.png")
echo "$size pixels in $colours colours"
# Greys and the widgets' colours alone are some hundreds.
[[ $size == 1240x800 && $colours -gt 1000 ]]
