#!/usr/bin/env bash
# scripts/check-runpath finds what it is made to find: libraries with empty and relative entries, alone, first, last and in
# the middle; and lets good ones pass. Then a library in the current folder is in fact not run by the built program.
#
# check_runpath_test.sh SOURCE_DIR BUILD_DIR COMPILER
set -euo pipefail
source=$1 build=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAILED: $*" >&2; exit 1; }

echo 'int answer(void) { return 42; }' >"$work/answer.c"
check() { # check STATUS RUNPATH
    rm -rf "$work/checked"
    mkdir "$work/checked"
    "$compiler" -x c -shared -fPIC -o "$work/checked/libanswer.so" "$work/answer.c" ${2:+"-Wl,--enable-new-dtags,-rpath,$2"}
    local status=0
    "$source/scripts/check-runpath" "$work/checked" >"$work/said" || status=$?
    [ "$status" = "$1" ] || fail "a RUNPATH of [$2] gave status $status: $(cat "$work/said")"
}
check 0 ''
check 0 '$ORIGIN'
check 0 '$ORIGIN/../lib:/usr/lib/selvarin'
check 1 ':'
check 1 '$ORIGIN:'
check 1 ':$ORIGIN'
check 1 '$ORIGIN::/usr/lib'
check 1 '.'
check 1 'lib/selvarin'
check 1 '$ORIGINAL/lib'
rm "$work/checked/libanswer.so"
status=0
"$source/scripts/check-runpath" "$work/checked" >/dev/null || status=$?
[ "$status" = 2 ] || fail "an empty folder gave status $status"

# Libraries by the names of all those that the program needs and that lie in the system's folders, each of which would end
# the program: none of them may be loaded.
mkdir "$work/models"
echo '#include <unistd.h>
__attribute__((constructor)) static void run(void) { static const char text[] = "a library of the current folder ran\n";
    if (write(2, text, sizeof text - 1) < 0) _exit(8); _exit(7); }' >"$work/trap.c"
"$compiler" -x c -shared -fPIC -o "$work/trap.so" "$work/trap.c"
planted=0
for name in $(LD_TRACE_LOADED_OBJECTS=1 "$build/bin/selvarin" | sed -nE 's/^[[:space:]]*([^ ]+) => .*/\1/p'); do
    case $name in libc.so* | ld-linux*) continue ;; esac
    cp "$work/trap.so" "$work/models/$name"
    planted=$((planted + 1))
done
[ "$planted" -gt 5 ] || fail "only $planted libraries are needed by the program"
(cd "$work/models" && "$build/bin/selvarin" --version >"$work/said" 2>&1) || fail "$(cat "$work/said")"
grep -qi selvarin "$work/said" || fail "no version: $(cat "$work/said")"
