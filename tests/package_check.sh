#!/usr/bin/env bash
# Builds the Debian package from a build tree into a temporary folder and runs lintian on it:
# any error or warning fails. Skips (77) where dpkg-deb or lintian is not installed.
# Usage: package_check.sh BUILD_DIR
set -euo pipefail
build=$1
command -v lintian >/dev/null && command -v dpkg-deb >/dev/null || { echo "lintian or dpkg-deb is not installed"; exit 77; }
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

log=$(cpack --config "$build/CPackConfig.cmake" -G DEB -B "$out" 2>&1) || { echo "$log"; exit 1; }
deb=$(ls "$out"/*.deb)
# lintian refuses to run as root unless told it may.
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$deb"
echo "lintian found no error and no warning in $(basename "$deb")"
