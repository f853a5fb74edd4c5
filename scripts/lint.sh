#!/usr/bin/env bash
# Runs clang-tidy over the sources of src/, or over the given ones. Several minutes, so .ci/run leaves it out.
# usage: lint.sh [FILE.cpp...]
# No run over all of src/ has been clean yet.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v clang-tidy >/dev/null 2>&1 || fail "clang-tidy is missing; scripts/setup.sh installs it"
cd "$ROOT_DIR"

# Commands of a folder of its own: precompiled headers of the compiler mean nothing to clang-tidy.
folder="$BUILD_ROOT/lint"
say "Configuring (lint)"
cmake --preset release -B "$folder" -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DTESSALY_TESTS=OFF -DTESSALY_TOOLS=OFF ||
    fail "the folder for clang-tidy could not be configured"

files=("$@")
# clang-tidy 14 can't read the views of GCC 12's library, which PlotFrame.cpp uses.
[ $# -gt 0 ] || readarray -t files < <(git ls-files 'src/*.cpp' | grep -v session/PlotFrame.cpp)
say "Checking ${#files[@]} files with clang-tidy"
printf '%s\0' "${files[@]}" |
    xargs -0 -n 1 -P "$(jobs_count)" clang-tidy -p "$folder" --quiet --header-filter="$ROOT_DIR/src/.*" \
        --warnings-as-errors='*' 2> >(grep -v 'warnings\? generated\.$' >&2) ||
    fail "clang-tidy has findings"
echo "No findings."
