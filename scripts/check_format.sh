#!/usr/bin/env bash
# Checks that every tracked C++ file is as clang-format would leave it. Changes nothing.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v clang-format >/dev/null 2>&1 || fail "clang-format is missing; scripts/setup.sh installs it"
cd "$ROOT_DIR"
say "Checking the format of all C++ files with $(clang-format --version)"
git ls-files -z -- '*.h' '*.cpp' | xargs -0 --no-run-if-empty clang-format --dry-run -Werror ||
    fail "some files are formatted differently; run clang-format -i on them"
echo "All files are formatted."
