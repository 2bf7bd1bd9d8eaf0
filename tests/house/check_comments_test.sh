#!/usr/bin/env bash
# The check of comments must pass a tree whose installed headers are documented, and fail one whose are not.
set -euo pipefail
check=$(cd "$(dirname "$0")/../../scripts" && pwd)/check-comments
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

mkdir -p "$tree"/src/kivrender/scene "$tree"/src/{import,qt,shaders/kit}
printf 'kiv_sources(a.cpp\n  PUBLIC_HEADERS\n  a.h\n  PRIVATE_HEADERS\n  hidden.h)\n' >"$tree"/src/kivrender/scene/CMakeLists.txt
for folder in import qt shaders/kit; do
  printf 'target_sources(x PUBLIC FILE_SET HEADERS BASE_DIRS src FILES b.h)\n' >"$tree/src/$folder/CMakeLists.txt"
  printf '// One.\n// Two.\nint b();\n' >"$tree/src/$folder/b.h"
done
printf 'int a();\nint b();\nint c();\n' >"$tree"/src/kivrender/scene/hidden.h

expect() { # expect STATUS TEXT DESCRIPTION
  local out status=0
  out=$("$check" "$tree" 2>&1) || status=$?
  if [ "$status" -ne "$1" ] || [[ "$out" != *"$2"* ]]; then
    echo "FAILED: $3: status $status, output: $out"
    failures=$((failures + 1))
  fi
}

printf '#ifndef A\n#define A\n\n// One.\nint a();\n#endif\n' >"$tree"/src/kivrender/scene/a.h
expect 0 "63.6 of 100 lines of 4 installed headers" "private headers, guards and blank lines do not count"
printf '%s\n' 'int a(); // a word behind it is no line' b c d e f g h i '// One.' >"$tree"/src/kivrender/scene/a.h
expect 1 "10.0 src/kivrender/scene/a.h" "too few comments, with the header that lacks them"
exit $((failures > 0))
