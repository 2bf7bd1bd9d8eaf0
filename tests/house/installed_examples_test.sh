#!/usr/bin/env bash
# Installs the package into an empty folder, builds the example hosts and the example plug-in against that installed
# package alone, with CMake and with pkg-config, and renders with them.
#
# installed_examples_test.sh SOURCE_DIR BUILD_DIR SANITIZE
set -euo pipefail
source=$1 build=$2 sanitize=${3:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data XDG_CACHE_HOME=$work/cache LC_ALL=C.UTF-8

fail() { echo "FAILED: $*" >&2; exit 1; }
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "$*"; }; }

prefix=$work/prefix
quietly cmake --install "$build" --prefix "$prefix"
library=$(dirname "$(find "$prefix" -name 'libselvarin.so' | head -n 1)")
[ -d "$library/shaders" ] || fail "no plug-ins beside the installed library"
[ -f "$library/styles/Comic.kiv" ] || fail "no styles beside the installed library"
[ -f "$library/lang/selvarin-en.so" ] || fail "no language module beside the installed library"
"$source/scripts/check-runpath" "$prefix" || fail "installed files look for libraries in the current folder"
if grep -rlE "$source|$build" "$prefix" --include='*.cmake' --include='*.pc' --include='*.h'; then
    fail "the installed package names the folders it was built in"
fi

flags=()
[ -n "$sanitize" ] && flags=(-DCMAKE_CXX_FLAGS="-fsanitize=$sanitize")
for example in minimal_host minimal_shader document_host pixel_host; do
    cp -r "$source/examples/$example" "$work/$example"
    quietly cmake -G Ninja -S "$work/$example" -B "$work/build-$example" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" "${flags[@]}"
    quietly cmake --build "$work/build-$example"
done

# The picture must be a PNG of the promised size with more in it than one flat colour, which compresses to far less.
check_picture() {
    [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || fail "$1 is no PNG"
    [ "$(stat -c %s "$1")" -gt 4000 ] || fail "$1 is too small to hold a picture"
}

said=$("$work/build-minimal_host/minimal_host" "$work/cube.png")
[ "$said" = "$work/cube.png: 640 x 480 pixels" ] || fail "the host said: $said"
check_picture "$work/cube.png"

# The plug-in is found once it lies in the installed shaders folder, and draws another picture.
cp "$work/build-minimal_shader/posterised.so" "$library/shaders/"
"$work/build-minimal_host/minimal_host" "$work/posterised.png" Posterised >/dev/null
check_picture "$work/posterised.png"
cmp -s "$work/cube.png" "$work/posterised.png" && fail "both shaders drew the same picture"
"$prefix/bin/selvarin" shaders >"$work/log"; grep -q Posterised "$work/log" || fail "the installed command line does not list the plug-in"

# A host sets settings by key and takes the pixels itself.
pixel_host=$work/build-pixel_host/pixel_host
"$pixel_host" Posterised >"$work/plain.ppm"
"$pixel_host" Posterised tones=2 Colours=ink Ink=#ff0000 >"$work/ink.ppm"
[ "$(stat -c %s "$work/ink.ppm")" = $((15 + 160 * 120 * 3)) ] || fail "pixel_host wrote $(stat -c %s "$work/ink.ppm") bytes"
cmp -s "$work/plain.ppm" "$work/ink.ppm" && fail "settings by key changed nothing"
for word in tones=1 tones=many nothing=1 tones; do
    said=$("$pixel_host" Posterised "$word" 2>&1 >/dev/null) && fail "pixel_host took $word"
    [ "$(printf '%s\n' "$said" | wc -l)" = 1 ] || fail "$word: $said"
done

# The plug-in in every kind of render of the command line, in both languages, and as one of several looks.
for options in --shadows --transparency "--shadows --transparency"; do
    # shellcheck disable=SC2086
    "$prefix/bin/selvarin" render --demo --base Posterised $options -o "$work/demo.png" -s 640x480 -q || fail "$options"
    check_picture "$work/demo.png"
done
"$prefix/bin/selvarin" render --demo --base Posterised -o "$work/demo.svg" -s 200x150 -q || fail "a drawing"
[ "$(stat -c %s "$work/demo.svg")" -gt 4000 ] || fail "the drawing is empty"
"$prefix/bin/selvarin" shaders --lang es >"$work/log"; grep -q '(Posterizado)' "$work/log" || fail "the plug-in speaks no Spanish"
"$prefix/bin/selvarin" preview --base Posterised --add none -o "$work/preview.png" -s 300x300 -q || fail "a preview"
"$prefix/bin/selvarin" preview --base none --add none -o "$work/empty.png" -s 300x300 -q || fail "an empty preview"
check_picture "$work/preview.png"
cmp -s "$work/preview.png" "$work/empty.png" && fail "the plug-in draws nothing in previews"

# A plug-in that no shader can be made of is left out with its name, and the others work.
head -c 9000 "$library/shaders/cartoon.so" >"$library/shaders/broken.so"
"$prefix/bin/selvarin" shaders >/dev/null 2>"$work/log" || fail "a broken plug-in keeps the others away"
grep -q 'shaders/broken.so: the file is cut off' "$work/log" || fail "a broken plug-in is not told: $(cat "$work/log")"
rm "$library/shaders/broken.so"

# A new shader of one's own builds and passes its test, against the installed package alone.
"$prefix/bin/selvarin" new-shader Freshly "$work/freshly" >/dev/null || fail "new-shader"
quietly cmake -G Ninja -S "$work/freshly" -B "$work/build-freshly" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" "${flags[@]}"
quietly cmake --build "$work/build-freshly"
quietly ctest --test-dir "$work/build-freshly" --output-on-failure
touch "$work/file"
ln -s "$work/nowhere" "$work/link"
for words in "1st $work/a" "Cartoon $work/a" "class $work/a" "../x $work/a" "a;b $work/a" "Ärger $work/a" "Mine $work/freshly" \
    "Mine $work/file" "Mine $work/link" "Mine $work/no/such/place" "Mine /proc/mine" "Mine" "Mine $work/a b"; do
    # shellcheck disable=SC2086
    said=$("$prefix/bin/selvarin" new-shader $words 2>&1) && fail "new-shader $words"
    [ "$(printf '%s\n' "$said" | wc -l)" = 1 ] && [ ! -e "$work/a" ] || fail "new-shader $words: $said"
done

# The archives for hosts: the importer, and the dialogs where they are installed.
mkdir "$work/components"
cat >"$work/components/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(Components LANGUAGES CXX)
find_package(Selvarin REQUIRED COMPONENTS import OPTIONAL_COMPONENTS qt)
add_executable(importer importer.cpp)
target_link_libraries(importer PRIVATE Selvarin::import)
if(Selvarin_qt_FOUND)
  add_executable(windows windows.cpp)
  target_link_libraries(windows PRIVATE Selvarin::qt)
endif()
END
cat >"$work/components/importer.cpp" <<'END'
#include <import/kivmodelimport.h>
#include <cstdio>
int main() {
    KivModel model;
    std::wstring message;
    if (!kivImportModels({L"model.obj"}, {}, model, message)) {
        std::printf("%ls\n", message.c_str());
        return 1;
    }
    std::printf("%u\n", model.scene->numMeshes());
}
END
cat >"$work/components/windows.cpp" <<'END'
#include <qt/kivqttoolkit.h>
#include <qt/kivqtwindow.h>
#include <QApplication>
#include <QWidget>
#include <cstdio>
int main(int argc, char** argv) {
    QApplication application(argc, argv);
    KivQtToolkit toolkit;
    KivToolkit::install(&toolkit);
    QWidget frame;
    KivQtWindow window(&frame);
    std::puts(KivQtWindow::widgetOf(&window) == &frame ? "the frame" : "another");
    KivToolkit::install(nullptr);
}
END
printf 'v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n' >"$work/model.obj"
quietly cmake -G Ninja -S "$work/components" -B "$work/build-components" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" "${flags[@]}"
quietly cmake --build "$work/build-components"
[ "$(cd "$work" && build-components/importer)" = 1 ] || fail "the importer of the package reads no model"
if [ -x "$work/build-components/windows" ]; then
    [ "$(QT_QPA_PLATFORM=offscreen "$work/build-components/windows")" = "the frame" ] || fail "the windows of the package"
fi

"$prefix/bin/selvarin" preview --style Comic -o "$work/comic.png" -s 300x300 -q || fail "an installed style can't be used"
check_picture "$work/comic.png"

# The program that reads foreign formats stands beside the library.
cat >"$work/triangle.stl" <<END
solid triangle
facet normal 0 0 0
outer loop
vertex 0 0 0
vertex 1 0 0
vertex 0 1 0
endloop
endfacet
endsolid triangle
END
"$prefix/bin/selvarin" info "$work/triangle.stl" | grep -q '^triangles:  1$' || fail "the installed command line reads no foreign model"
mv "$library/selvarin-reader" "$work/"
said=$("$prefix/bin/selvarin" info "$work/triangle.stl" 2>&1) && fail "a foreign model was read without its reader"
# The library names its own folder as the system does, which goes by that of the program.
case $said in
"selvarin: can't use \"$work/triangle.stl\": the program that reads such files is missing: $prefix/"*"/selvarin-reader") ;;
*) fail "without the reader: $said" ;;
esac
mv "$work/selvarin-reader" "$library/"

# Settings that were saved in a document draw the same picture when another process has read them back.
document_host=$work/build-document_host/document_host
"$document_host" new "$work/a.doc" "Clean toon"
"$document_host" render "$work/a.doc" "$work/plain.png"
"$document_host" object "$work/a.doc" 1 Comic
"$document_host" object "$work/a.doc" 2 Blueprint
"$document_host" render "$work/a.doc" "$work/own.png"
check_picture "$work/own.png"
cmp -s "$work/plain.png" "$work/own.png" && fail "objects with settings of their own drew the same picture"
"$document_host" render "$work/a.doc" "$work/again.png"
cmp -s "$work/own.png" "$work/again.png" || fail "a document gave another picture the second time"
# Sharing what two objects have in common leaves each what it has for itself.
said=$("$document_host" share "$work/a.doc" 1 2)
case $said in "0 values"* | *" 0 of them varied") fail "sharing said: $said" ;; esac
"$document_host" render "$work/a.doc" "$work/shared.png"
cmp -s "$work/own.png" "$work/shared.png" || fail "sharing changed the picture"
# A document that breaks off or is none is told in one line.
head -n 40 "$work/a.doc" >"$work/broken.doc"
for document in broken.doc log gone.doc; do
    said=$("$document_host" render "$work/$document" "$work/never.png" 2>&1) && fail "$document was taken for a document"
    [ "$(printf '%s\n' "$said" | wc -l)" = 1 ] && [ ! -e "$work/never.png" ] || fail "$document: $said"
done

# The same host by pkg-config.
if command -v pkg-config >/dev/null; then
    export PKG_CONFIG_PATH
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name selvarin.pc)")
    [ "$(realpath "$(pkg-config --variable=shadersdir selvarin)")" = "$library/shaders" ] || fail "shadersdir of pkg-config"
    # shellcheck disable=SC2046
    quietly c++ -std=c++20 ${sanitize:+-fsanitize=$sanitize} "$work/minimal_host/main.cpp" -o "$work/by_pkg_config" \
        $(pkg-config --cflags --libs selvarin)
    # shellcheck disable=SC2046
    quietly c++ -std=c++20 -shared -fPIC -fvisibility=hidden ${sanitize:+-fsanitize=$sanitize} \
        "$source/examples/pkgconfig_shader/rims.cpp" -o "$library/shaders/rims.so" $(pkg-config --cflags --libs selvarin-kit)
    "$work/by_pkg_config" "$work/rims.png" Rims >/dev/null
    check_picture "$work/rims.png"
    cmp -s "$work/rims.png" "$work/cube.png" && fail "the plug-in built by pkg-config drew nothing of its own"
    "$prefix/bin/selvarin" shaders --lang es >"$work/log"; grep -q '(Bordes)' "$work/log" || fail "its page has no texts"
    rm "$library/shaders/rims.so"
    "$work/by_pkg_config" "$work/again.png" >/dev/null
    cmp -s "$work/cube.png" "$work/again.png" || fail "the host built by pkg-config drew another picture"
fi
echo "installed package: the examples build against it and render"
