#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks every installed file.
# Usage: install_check.sh BUILD_DIR
set -euo pipefail
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$1" --prefix "$prefix" >/dev/null

sizes=(16 24 32 48 64 128 256)
expected=(bin/yuzuha bin/yuzuha-books share/applications/yuzuha.desktop share/metainfo/app.yuzuha.Yuzuha.metainfo.xml
    share/doc/yuzuha/copyright share/doc/yuzuha/changelog.gz share/man/man1/yuzuha.1.gz share/man/man1/yuzuha-books.1.gz)
for size in "${sizes[@]}"; do expected+=("share/icons/hicolor/${size}x${size}/apps/yuzuha.png"); done

failed=0
fail() { echo "$1"; failed=1; }
for file in "${expected[@]}"; do [ -s "$prefix/$file" ] || fail "missing or empty: $file"; done
# Nothing is installed that the list does not name.
while IFS= read -r file; do
    printf '%s\n' "${expected[@]}" | grep -qxF "$file" || fail "unexpected: $file"
done < <(cd "$prefix" && find . -type f | sed 's#^\./##' | sort)
for program in bin/yuzuha bin/yuzuha-books; do [ -x "$prefix/$program" ] || fail "not executable: $program"; done
"$prefix/bin/yuzuha-books" --home "$prefix" --json | grep -q '"sessions":\[\]' || fail "installed yuzuha-books does not run"
for size in "${sizes[@]}"; do
    dims=$(identify -format '%wx%h' "$prefix/share/icons/hicolor/${size}x${size}/apps/yuzuha.png")
    [ "$dims" = "${size}x${size}" ] || fail "icon ${size}: is $dims"
done
for page in yuzuha yuzuha-books; do
    out=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l "$prefix/share/man/man1/$page.1.gz" 2>&1 >/dev/null) || failed=1
    [ -z "$out" ] || fail "man $page: $out"
done
desktop-file-validate "$prefix/share/applications/yuzuha.desktop" || failed=1
appstreamcli validate --no-net "$prefix/share/metainfo/app.yuzuha.Yuzuha.metainfo.xml" >/dev/null || failed=1

[ "$failed" -eq 0 ] || { echo "install check failed"; exit 1; }
echo "install check passed: ${#expected[@]} files"
