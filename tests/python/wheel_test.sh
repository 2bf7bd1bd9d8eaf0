#!/usr/bin/env bash
# wheel_test.sh SOURCES BUILD PYTHON: the wheel in a virtual environment on a prefix of its own, and the same from the
# sources by pip; the add-on from its zip in a Blender that has nothing else. None uses the network or the build tree.
set -euo pipefail
sources=$1 build=$2 python=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export SELVARIN_BUILD_DIR=$build PIP_DISABLE_PIP_VERSION_CHECK=1
fail() { echo "FAILED: $*"; exit 1; }

# The package's own build folders lie in the sources: not beside those of somebody who works there.
cp -r "$sources"/{CMakeLists.txt,pyproject.toml,setup.py,blender,python,scripts} "$work"
mkdir "$work/docs"
cp "$sources/docs/python.md" "$work/docs"

PYTHON=$python "$work/scripts/wheel" --outdir "$work/dist"
wheel=$(echo "$work"/dist/selvarin-*.whl)
[ -f "$wheel" ] || fail "no wheel"
version=$("$build/bin/selvarin" --version | sed -n '1s/^selvarin \([0-9.]*\).*/\1/p')
case $(basename "$wheel") in "selvarin-$version-"*) ;; *) fail "$(basename "$wheel") is not of version $version" ;; esac
"$python" -m venv --system-site-packages "$work/one"
"$python" -m venv --system-site-packages "$work/two"
"$work/one/bin/python" -m pip install -q --no-index --no-deps "$wheel"
(cd "$work" && ./two/bin/python -m pip install -q --no-index --no-deps --no-build-isolation .)
mkdir "$work/elsewhere"
cd "$work/elsewhere"
unset SELVARIN_BUILD_DIR
# STL comes through the program that reads foreign formats.
facet() {
    printf 'facet normal 0 0 0\nouter loop\nvertex %s\nvertex %s\nvertex %s\nendloop\nendfacet\n' "$@"
}
{
    echo 'solid tetra'
    facet '0 0 0' '0 1 0' '1 0 0'
    facet '0 0 0' '1 0 0' '0 0 1'
    facet '1 0 0' '0 1 0' '0 0 1'
    facet '0 0 0' '0 0 1' '0 1 0'
    echo 'endsolid tetra'
} >tetra.stl
"$build/bin/selvarin" render tetra.stl -o expected.png -s 80x60 -a 0 -q

for place in one two; do
    site=$("$work/$place/bin/python" -c 'import os, selvarin; print(os.path.dirname(selvarin.__file__))')
    case $site in "$work/$place/"*) ;; *) fail "imported from $site" ;; esac
    "$sources/scripts/check-runpath" "$site"
    readelf -d "$site"/_core*.so | grep -q 'RUNPATH.*\[$ORIGIN/native\]' || fail "the module's RUNPATH"
    "$work/$place/bin/python" - <<'PYTHON'
import selvarin
assert selvarin._core.library_folder().startswith(selvarin.__path__[0]), selvarin._core.library_folder()
assert len(selvarin.styles()) > 10 and len(selvarin.shaders()) >= 4 and len(selvarin.papers()) >= 4
scene = selvarin.Scene()
scene.load("tetra.stl")
selvarin.render(scene, (80, 60), antialias=0).save("picture.png")
selvarin.draw(scene, (80, 60)).save("drawing.svg")
PYTHON
    cmp expected.png picture.png || fail "another picture than that of the command line"
    grep -q '<path' drawing.svg || fail "an empty drawing"
    "$work/$place/bin/selvarin" --version | grep -q '^selvarin 2' || fail "the program"
    "$work/$place/bin/python" -m selvarin render tetra.stl -o program.png -s 80x60 -a 0 -q
    cmp expected.png program.png || fail "the program draws another picture"
    rm picture.png program.png drawing.svg
done
[ -f "$work/one/lib/python3"*/site-packages/selvarin/py.typed ] || fail "py.typed"

zip=$(echo "$work"/dist/selvarin-blender-*.zip)
[ -f "$zip" ] || fail "no add-on"
blender=$(command -v "${BLENDER:-blender}") || { echo "the add-on is not tried: Blender is not installed"; exit 0; }
HOME=$work/user XDG_CONFIG_HOME=$work/user/config BLENDER_USER_SCRIPTS=$work/user/scripts "$blender" -b --factory-startup --python-exit-code 1 --python-expr "
import bpy
bpy.ops.preferences.addon_install(filepath='$zip')
bpy.ops.preferences.addon_enable(module='selvarin_render')
import selvarin
assert selvarin.__file__.startswith('$work/user/scripts'), selvarin.__file__
render = bpy.context.scene.render
render.engine = 'SELVARIN'
render.resolution_x, render.resolution_y, render.filepath = 80, 60, '$work/elsewhere/f12.png'
bpy.context.scene.selvarin.look.style = 'Comic'
bpy.ops.render.render(write_still=True)
" >blender.log 2>&1 || { cat blender.log; fail "the add-on from its zip"; }
[ -s f12.png ] || { cat blender.log; fail "the add-on draws nothing"; }
