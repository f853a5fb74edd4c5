#!/usr/bin/env bash
# Gets the Qwt source package when the distribution has no Qwt built for Qt 6 (6.2 or newer).
# Prints the folder of the unpacked source, or nothing where an installed Qwt serves.
#
# The source package of the development suite is fetched with the package manager's own client, through a private source
# list and private list and cache folders: the system's package configuration stays as it is.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

SUITE=sid
TARGET="$CACHE_DIR/qwt"

installed_qwt_for_qt6() {
    local package
    for package in libqwt-qt6-dev libqwt6-qt6-dev; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' && return 0
    done
    return 1
}

# The archive that this system's own sources name for the distribution itself (not for security updates).
archive_uri() {
    local uri
    uri="$(cat /etc/apt/sources.list.d/*.sources 2>/dev/null |
        awk 'tolower($1) == "uris:" { for (i = 2; i <= NF; i++) print $i }' |
        grep -E '/debian/?$' | head -n 1 || true)"
    if [ -z "$uri" ]; then
        uri="$(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
            grep -E '^deb ' | sed -E 's/\[[^]]*\]//' | awk '{ print $2 }' | grep -E '/debian/?$' | head -n 1 || true)"
    fi
    printf '%s' "$uri"
}

archive_keyring() {
    local keyring
    for keyring in /usr/share/keyrings/debian-archive-keyring.gpg /usr/share/keyrings/debian-archive-keyring.pgp; do
        [ -f "$keyring" ] && printf '%s' "$keyring" && return 0
    done
    return 1
}

unpacked_source() { find "$TARGET" -maxdepth 4 -name qwt_plot.h -path '*/src/*' -printf '%h\n' 2>/dev/null | head -n 1; }

fetch_source() {
    local uri keyring private
    uri="$(archive_uri)"
    [ -n "$uri" ] || fail "no Debian archive is configured on this system; install Qwt 6.2 or newer for Qt 6 by hand"
    keyring="$(archive_keyring)" || fail "the Debian archive keyring is missing (package debian-archive-keyring)"
    private="$TARGET/apt"
    rm -rf "$TARGET"
    mkdir -p "$private/lists/partial" "$private/cache/archives/partial" "$TARGET/download"
    printf 'deb-src [signed-by=%s] %s %s main\n' "$keyring" "$uri" "$SUITE" >"$private/sources.list"
    : >"$private/status"
    local options=(
        -o "Dir::Etc::SourceList=$private/sources.list" -o "Dir::Etc::SourceParts=/dev/null"
        -o "Dir::State::Lists=$private/lists" -o "Dir::Cache=$private/cache"
        -o "APT::Sandbox::User=$(id -un)" -o "APT::Get::List-Cleanup=false"
    )
    apt-get "${options[@]}" -q update >&2 || fail "the package lists of the suite '$SUITE' could not be read"
    (cd "$TARGET/download" && apt-get "${options[@]}" -q source --tar-only --download-only qwt >&2) ||
        fail "the Qwt source package could not be fetched"
    local tarball
    tarball="$(find "$TARGET/download" -name 'qwt_*.orig.tar.*' ! -name '*.asc' | head -n 1)"
    [ -n "$tarball" ] || fail "the Qwt source package holds no source archive"
    mkdir -p "$TARGET/source"
    tar -xf "$tarball" -C "$TARGET/source"
    rm -rf "$private" "$TARGET/download"
}

if installed_qwt_for_qt6; then
    exit 0
fi
if [ -z "$(unpacked_source)" ]; then
    fetch_source
fi
source_dir="$(unpacked_source)"
[ -n "$source_dir" ] || fail "the Qwt source package was fetched but holds no sources"
dirname "$source_dir"
