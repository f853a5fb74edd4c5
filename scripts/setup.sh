#!/usr/bin/env bash
# Installs what building, testing and running need, as distribution packages. Installs only what is missing and changes
# nothing else of the system. Safe to run again.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Each entry is a package, or alternatives under which releases of the distribution know it, the newest name first.
REQUIRED=(
    cmake ninja-build g++ git pkg-config dpkg-dev
    qt6-base-dev qt6-base-dev-tools "qt6-svg-dev|libqt6svg6-dev"
    qt6-tools-dev qt6-documentation-tools libqt6sql6-sqlite openssl
    libhdf5-dev libdeflate-dev libopencv-dev
    libarmadillo-dev libopenblas-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    python3 python3-numpy python3-scipy python3-h5py hdf5-tools ffmpeg
    clang-format clang-tidy fonts-dejavu-core
)
# Taken where the release has them: faster builds, and Qwt for Qt 6 without compiling it.
OPTIONAL=(ccache mold libqwt-qt6-dev)

is_installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed'; }

has_candidate() {
    local candidate
    candidate="$(LC_ALL=C apt-cache policy "$1" 2>/dev/null | awk '/Candidate:/ { print $2 }')"
    [ -n "$candidate" ] && [ "$candidate" != "(none)" ]
}

# Whether one of the alternatives of an entry is installed.
is_satisfied() {
    local name
    for name in ${1//|/ }; do
        is_installed "$name" && return 0
    done
    return 1
}

# The first alternative of an entry that this release offers.
offered_name() {
    local name
    for name in ${1//|/ }; do
        has_candidate "$name" && printf '%s' "$name" && return 0
    done
    return 1
}

install_missing() {
    local entry name missing=() packages=()
    for entry in "${REQUIRED[@]}"; do
        is_satisfied "$entry" || missing+=("$entry")
    done
    if [ ${#missing[@]} -eq 0 ]; then
        echo "All packages are installed."
        return
    fi
    say "Reading the package lists (missing: ${missing[*]})"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q update || fail "the package lists could not be read"
    for entry in "${missing[@]}"; do
        name="$(offered_name "$entry")" || fail "this release offers no package $entry"
        packages+=("$name")
    done
    for entry in "${OPTIONAL[@]}"; do
        if ! is_installed "$entry" && has_candidate "$entry"; then
            packages+=("$entry")
        fi
    done
    say "Installing ${packages[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends "${packages[@]}" ||
        fail "the packages could not be installed"
}

command -v apt-get >/dev/null 2>&1 ||
    fail "this script knows Debian and Ubuntu only; CONTRIBUTING.md lists what is needed elsewhere"
say "Looking for missing packages"
install_missing
say "Looking for Qwt"
qwt="$("$ROOT_DIR/scripts/qwt-source.sh")" || fail "there is neither an installed Qwt for Qt 6 nor its source"
echo "Qwt: ${qwt:-the installed package}"
