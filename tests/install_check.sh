#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks every installed file.
# Usage: install_check.sh BUILD_DIR
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null

expected=(
    bin/yuzuha
    bin/yuzuha-books
    share/applications/yuzuha.desktop
    share/metainfo/app.yuzuha.Yuzuha.metainfo.xml
    share/doc/yuzuha/copyright
)
for size in 16 24 32 48 64 128 256; do
    expected+=("share/icons/hicolor/${size}x${size}/apps/yuzuha.png")
done

failed=0
for file in "${expected[@]}"; do
    [ -s "$prefix/$file" ] || { echo "missing or empty: $file"; failed=1; }
done
# Nothing is installed that the list does not name.
while IFS= read -r file; do
    printf '%s\n' "${expected[@]}" | grep -qxF "$file" || { echo "unexpected: $file"; failed=1; }
done < <(cd "$prefix" && find . -type f | sed 's#^\./##' | sort)

for program in bin/yuzuha bin/yuzuha-books; do
    [ -x "$prefix/$program" ] || { echo "not executable: $program"; failed=1; }
done
"$prefix/bin/yuzuha-books" --home "$prefix" --json | grep -q '"sessions":\[\]' || { echo "installed yuzuha-books does not run"; failed=1; }

for size in 16 24 32 48 64 128 256; do
    dims=$(identify -format '%wx%h' "$prefix/share/icons/hicolor/${size}x${size}/apps/yuzuha.png")
    [ "$dims" = "${size}x${size}" ] || { echo "icon ${size}: is $dims"; failed=1; }
done

desktop-file-validate "$prefix/share/applications/yuzuha.desktop" || failed=1
appstreamcli validate --no-net "$prefix/share/metainfo/app.yuzuha.Yuzuha.metainfo.xml" >/dev/null || failed=1

if [ "$failed" -ne 0 ]; then
    echo "install check failed"
    exit 1
fi
echo "install check passed: ${#expected[@]} files"
