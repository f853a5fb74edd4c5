#!/usr/bin/env bash
# Builds and starts the program; without a display it takes the guided tour instead and says where the pictures are.
# Arguments go to the program.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

BUILD="$BUILD_ROOT/release"
DATA="$ROOT_DIR/demo-data"
PICTURES="$BUILD_ROOT/tour"

has_display() { [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; }

"$ROOT_DIR/scripts/setup.sh"
targets=(tessaly tessaly_batch_program tessaly_demo)
has_display || targets+=(tessaly_tour)
configure release
build release "${targets[@]}"

if [ -z "$(find "$DATA" -name '*.vqd' -print -quit 2>/dev/null)" ]; then
    say "Making demo measurement files in $DATA"
    "$BUILD/bin/tessaly_demo" --output "$DATA" || fail "the demo measurement files could not be made"
fi

if [ -z "$(find "$DATA-statistics" -name '*.vqd' -print -quit 2>/dev/null)" ]; then
    "$BUILD/bin/tessaly_demo" --statistics --output "$DATA-statistics" >/dev/null ||
        fail "the demo measurement files for statistics could not be made"
fi

if has_display; then
    say "Starting the program; demo measurement files are in $DATA"
    exec "$BUILD/bin/tessaly" "$@"
fi
say "There is no display: taking the guided tour"
QT_QPA_PLATFORM=offscreen "$BUILD/bin/tessaly_tour" --output "$PICTURES" --data "$DATA" ||
    fail "a step of the guided tour failed"
echo "The pictures of the tour are in $PICTURES"
