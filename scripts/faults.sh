#!/usr/bin/env bash
# Kills saves, takes their room away and changes files under their hands: no target may be lost or half written.
# Takes some minutes, so it isn't part of the tests.
# usage: faults.sh [--kills N] [--rooms N] [--seed S] [--kinds KIND...]
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

configure release
build release save_files
python=python3
"$python" -c 'import h5py' 2>/dev/null || python=/usr/bin/python3
say "Saving while things go wrong"
"$python" "$ROOT_DIR/scripts/faults.py" "$BUILD_ROOT/release/tests/save_files" "$@"
