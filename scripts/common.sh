# shellcheck shell=bash disable=SC2034
# Shared by the scripts of this folder: where things are, what is said, how root is reached.
# Sourced, not run.

set -euo pipefail

ROOT_DIR="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD_ROOT="${TESSALY_BUILD_ROOT:-$ROOT_DIR/build}"
# What is fetched once and serves every build: a cache of ours, never committed.
CACHE_DIR="${TESSALY_CACHE_DIR:-$ROOT_DIR/.cache}"

say() { printf '\n== %s\n' "$*"; }

fail() {
    printf '\nStopped: %s\n' "$*" >&2
    exit 1
}

# Runs a command as root: directly when we are root, else through sudo.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null 2>&1; then
        sudo -n "$@" 2>/dev/null || sudo "$@"
    else
        fail "this needs root rights and there is no sudo: $*"
    fi
}

jobs_count() { nproc 2>/dev/null || echo 2; }

# Configures a preset's build folder.
configure() {
    say "Configuring ($1)"
    (cd "$ROOT_DIR" && cmake --preset "$1" -B "$BUILD_ROOT/$1") || fail "the preset '$1' could not be configured"
}

# build PRESET [TARGET...]: builds these targets, or everything.
build() {
    local preset="$1" targets=("${@:2}") options=()
    [ ${#targets[@]} -eq 0 ] || options=(--target "${targets[@]}")
    say "Building ($preset${targets[*]:+: ${targets[*]}})"
    cmake --build "$BUILD_ROOT/$preset" --parallel "$(jobs_count)" "${options[@]}" ||
        fail "the build of the preset '$preset' failed"
}
