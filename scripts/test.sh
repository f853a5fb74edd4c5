#!/usr/bin/env bash
# Builds with tests and runs them without a display.
# usage: test.sh [PRESET [LAYER...]]
#   PRESET  release (default), debug, asan or tsan
#   LAYER   only the tests of these folders of tests/, e.g. io session
# TESSALY_CTEST_OPTIONS holds further options for ctest, e.g. --verbose.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset="${1:-release}"
[ $# -gt 0 ] && shift
layers=("$@")

# Findings of the sanitizers fail a test. Libraries of others that leak by design or whose locking the thread sanitizer
# can't see are listed beside the tests. Starting the helper program forks, after which the thread sanitizer would refuse
# new threads. A helper that divides by zero has to end as a crash, not with an exit code of the
# sanitizer's.
export ASAN_OPTIONS="detect_leaks=1:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$ROOT_DIR/tests/support/lsan.supp:print_suppressions=0:${LSAN_OPTIONS:-}"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:${UBSAN_OPTIONS:-}"
export TSAN_OPTIONS="suppressions=$ROOT_DIR/tests/support/tsan.supp:second_deadlock_stack=1:die_after_fork=0:handle_sigfpe=0:${TSAN_OPTIONS:-}"
export QT_QPA_PLATFORM=offscreen

"$ROOT_DIR/scripts/setup.sh"
configure "$preset"
targets=()
selection=()
if [ ${#layers[@]} -gt 0 ]; then
    targets=("${layers[@]/#/test_}")
    selection=(-R "^($(IFS='|' && echo "${layers[*]}"))\$")
fi
build "$preset" "${targets[@]}"

say "Running the tests ($preset${layers:+: ${layers[*]}})"
read -r -a options <<<"${TESSALY_CTEST_OPTIONS:-}"
ctest --test-dir "$BUILD_ROOT/$preset" --output-on-failure --no-tests=error "${selection[@]}" "${options[@]}" ||
    fail "a test of the preset '$preset' failed"
