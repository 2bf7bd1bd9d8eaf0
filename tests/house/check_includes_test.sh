#!/usr/bin/env bash
# The include check must pass a sound tree and name each kind of fault in an unsound one.
set -euo pipefail
check=$(cd "$(dirname "$0")/../../scripts" && pwd)/check-includes
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

put() { mkdir -p "$tree/$(dirname "$1")"; printf '%s\n' "$2" >"$tree/$1"; }
fresh() {
    rm -rf "$tree"/src
    put src/kivrender/scene/a.h '#include <vector>'
    put src/kivrender/render/b.cpp '#include "kivrender/scene/a.h"'
    put src/shaders/toon/t.cpp '#include "kivrender/render/c.h"'
    put src/kivrender/render/c.h '#include "kivrender/scene/a.h"'
}
expect() { # expect STATUS TEXT DESCRIPTION
    local out status=0
    out=$("$check" "$tree" 2>&1) || status=$?
    if [ "$status" -ne "$1" ] || [[ "$out" != *"$2"* ]]; then
        echo "FAILED: $3: status $status, output: $out"
        failures=$((failures + 1))
    fi
}

fresh
expect 0 "" "a sound tree passes"
fresh; put src/kivrender/scene/up.cpp '#include "kivrender/render/c.h"'
expect 1 "scene stands below render" "a layer that reaches up"
fresh; put src/kivrender/scene/d.h '#include "kivrender/scene/e.h"'; put src/kivrender/scene/e.h '#include "kivrender/scene/d.h"'
expect 1 "circle of includes" "two files that include each other"
fresh; put src/kivrender/scene/f.h '#include "kivrender/scene/g.h"'; put src/kivrender/scene/g.h '#include "kivrender/scene/h.h"'
put src/kivrender/scene/h.h '#include "kivrender/scene/f.h"'
expect 1 "circle of includes" "a circle of three"
fresh; put src/kivrender/host/q.cpp '#include <QWidget>'
expect 1 "does not belong" "a toolkit in the library"
fresh; put src/shaders/toon/i.cpp '  #  include <assimp/scene.h>'
expect 1 "does not belong" "an importer in a plug-in"
fresh; put src/kivrender/render/j.cpp '#include "kivrender/scene/missing.h"'
expect 1 "no such file" "a file that does not exist"
fresh; put src/kivrender/render/k.cpp '#include "c.h"'
expect 1 "path from the root" "a path that is not from the root"
fresh; put src/kivrender/render/l.cpp '#include "kivrender/attic/x.h"'
expect 1 "unknown folder" "a folder that is no layer"
for header in unistd.h sys/stat.h windows.h; do
    fresh; put src/kivrender/render/m.cpp "#include <$header>"
    expect 1 "belongs to the operating system" "$header outside of platform/"
done
fresh; put src/kivrender/platform/n.cpp '#include <sys/stat.h>'; put src/kivrender/shader/check/main.cpp '#include <unistd.h>'
expect 0 "" "the operating system in platform/ and in a program"
exit $((failures > 0))
