#!/usr/bin/env bash
# Installs the core into an empty folder, builds another host against it, and runs that.
#
#   installed_package_test.sh BUILD_FOLDER
set -euo pipefail

build=$1
source=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --component development --prefix "$work/prefix"
mkdir -p "$work/host/tests/app"
cp "$source"/../app/recording_host.* "$work/host/tests/app"
cmake -G Ninja -S "$source/foreign_host" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DHOST_FOLDER="$work/host" -DCMAKE_CXX_STANDARD=20 -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror"
cmake --build "$work/build"
"$work/build/foreign_host"
