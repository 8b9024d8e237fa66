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
    share/doc/yuzuha/changelog.gz
    share/man/man1/yuzuha.1.gz
    share/man/man1/yuzuha-books.1.gz
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

for page in yuzuha yuzuha-books; do
    out=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l "$prefix/share/man/man1/$page.1.gz" 2>&1 >/dev/null) || failed=1
    [ -z "$out" ] || { echo "man $page: $out"; failed=1; }
done

desktop-file-validate "$prefix/share/applications/yuzuha.desktop" || failed=1
appstreamcli validate --no-net "$prefix/share/metainfo/app.yuzuha.Yuzuha.metainfo.xml" >/dev/null || failed=1

if [ "$failed" -ne 0 ]; then
    echo "install check failed"
    exit 1
fi
echo "install check passed: ${#expected[@]} files"
