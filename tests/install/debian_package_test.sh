#!/usr/bin/env bash
# Makes the Debian packages, installs the programs' into an empty root, runs one there, removes them.
# Needs root; .ci/run runs it.
#
#   debian_package_test.sh BUILD_FOLDER
set -euo pipefail

build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$1" >&2
  exit 1
}
depends() { dpkg-deb -f "$work"/packages/"$1"_*.deb Depends; }

(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >/dev/null)
depends lumomixcalc | grep -q libgdal || fail "the program's package does not depend on GDAL"
! depends lumomixcalc | grep -qi qt || fail "the batch program's package depends on Qt"
depends lumomixcalc-panel | grep -q 'lumomixcalc (= .*libqt6' ||
  fail "the panel's package does not depend on its program and Qt"
depends lumomixcalc-qgis | grep -q 'lumomixcalc (= .*python3-qgis' ||
  fail "the plugin's package does not depend on its program and QGIS"
dpkg-deb -c "$work"/packages/liblumomixcalc-dev_*.deb | grep -q liblumomixcalc_app.a ||
  fail "the development package lacks the library"

root=$work/root
mkdir -p "$root"/var/lib/dpkg/{info,updates}
touch "$root/var/lib/dpkg/status"
# The libraries are this machine's; whether they are installed is not asked of the empty root.
dpkg --root="$root" --force-depends --force-not-root -i "$work"/packages/lumomixcalc*.deb >/dev/null 2>&1
"$root/usr/bin/lumomixcalc" --version
told=$(QT_QPA_PLATFORM=none "$root/usr/bin/lumomixcalc" -panel 2>&1 || true)
[[ $told == *'panel cannot be shown'* ]] || fail "-panel does not start the panel: $told"
cp "$root/usr/bin/lumomixcalc" "$work" # alone, as without the panel's package
told=$("$work/lumomixcalc" -panel 2>&1 || true)
[[ $told == *'package lumomixcalc-panel'* ]] || fail "-panel does not name the package: $told"
for file in man/man1/lumomixcalc{,-coherence,-slurm}.1 \
  bash-completion/completions/lumomixcalc{,-coherence,-slurm} \
  qgis/python/plugins/lumomixcalc/{__init__.py,calculate.txt,lumomixcalc.svg,metadata.txt} \
  applications/lumomixcalc.desktop icons/hicolor/scalable/apps/lumomixcalc.svg; do
  [[ -s $root/usr/share/$file ]] || fail "share/$file is not installed"
done
shown=$(sed -nE 's/^Exec=([^ ]*) %f$/\1/p' "$root/usr/share/applications/lumomixcalc.desktop")
for program in lumomixcalc{,-coherence,-slurm,-panel} "${shown:-none}"; do
  [[ -x $root/usr/bin/$program ]] || fail "bin/$program is not a program"
done
dpkg --root="$root" --remove lumomixcalc-{panel,qgis} lumomixcalc >/dev/null 2>&1
left=$(find "$root" -path "$root/var" -prune -o -type f -print)
[[ -z $left ]] || fail "left behind: $left"
