#!/usr/bin/env bash
# package_check_test.sh SOURCES BUILD: packs what is built, and has scripts/package-check install the packages in a bare
# system and use them there. Exits with 77, which is "skipped", after a word where that can't be done. A bare system takes
# minutes and some hundred megabytes from a mirror: it is made where SELVARIN_PACKAGE_CHECK is set.
set -euo pipefail

sources=$1
build=$2
skip() { echo "skipped: $*"; exit 77; }

[ -n "${SELVARIN_PACKAGE_CHECK:-}" ] || skip "SELVARIN_PACKAGE_CHECK is not set"
[ "$(id -u)" = 0 ] || skip "a bare root needs root"
for tool in debootstrap dpkg-shlibdeps cpack; do
  command -v "$tool" >/dev/null || skip "$tool is missing"
done
folder=$(mktemp -d)
trap 'rm -rf --one-file-system "$folder"' EXIT
mkdir "$folder/proc"
mount -t proc proc "$folder/proc" 2>/dev/null || skip "nothing can be mounted here"
umount "$folder/proc"

cpack --config "$build/CPackConfig.cmake" -B "$folder/packages" >"$folder/log" 2>&1 || { tail -20 "$folder/log" >&2; exit 1; }
status=0
"$sources/scripts/package-check" "$folder/packages" 2>&1 | tee "$folder/log" || status=$?
if [ "$status" != 0 ] && grep -q "Failed getting release file" "$folder/log"; then
  skip "the mirror is out of reach"
fi
exit "$status"
