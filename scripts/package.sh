#!/usr/bin/env bash
# Makes the Debian package and checks it: the files for the desktop, the package as a whole, and, with root rights and where
# debootstrap is installed, a bare system into which nothing but the package and what it declares is installed. Starts the
# program from wherever it was put, and from an installed tree that was moved.
#   scripts/package.sh [--no-bare] [CMake options...]     --no-bare: without the bare system
# TESSALY_PACKAGE_BUILD names a build folder to use instead of build/package, such as that of the preset release.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

PACKAGE_DIR="${TESSALY_PACKAGE_BUILD:-$BUILD_ROOT/package}"
SCRATCH="$(mktemp -d)"
ROOT_MOUNTS=()
cleanup() {
    local place
    for place in "${ROOT_MOUNTS[@]}"; do
        umount "$place" || true
    done
    rm -rf "$SCRATCH"
}
trap cleanup EXIT

# need TOOL PACKAGE
need() { command -v "$1" >/dev/null 2>&1 || fail "$1 is missing; install the package $2"; }

make_package() {
    say "Configuring and building what is packed"
    cmake -S "$ROOT_DIR" -B "$PACKAGE_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" ||
        fail "the package could not be configured"
    cmake --build "$PACKAGE_DIR" --parallel "$(jobs_count)" --target packaged tessaly_find_in_manual ||
        fail "the build failed"
    say "Packing"
    rm -f "$PACKAGE_DIR"/*.deb
    (cd "$PACKAGE_DIR" && cpack -G DEB) || fail "the package could not be made"
    DEB="$(ls "$PACKAGE_DIR"/*.deb)"
}

check_desktop_files() {
    say "Checking the files for the desktop"
    local files="$ROOT_DIR/packaging" found
    desktop-file-validate "$files"/*.desktop || fail "the desktop entry isn't valid"
    appstreamcli validate --no-net "$files"/*.metainfo.xml || fail "the metainfo isn't valid"
    xmllint --noout "$files/tessaly-mime.xml" || fail "the MIME type isn't well formed"
    mkdir -p "$SCRATCH/mime/packages"
    cp "$files/tessaly-mime.xml" "$SCRATCH/mime/packages/"
    update-mime-database "$SCRATCH/mime" || fail "the MIME type isn't valid"
    grep -q 'application/x-vqd:\*\.vqd' "$SCRATCH/mime/globs" || fail "the MIME type doesn't know .vqd"
    for page in tessaly.1 tessaly_batch.1; do
        found="$(mandoc -T lint -W warning "$files/$page")" || fail "the manual page isn't clean: $found"
    done
}

check_package() {
    local size
    say "Checking the package"
    dpkg-deb --info "$DEB"
    size="$(stat -c %s "$DEB")"
    echo "$(basename "$DEB"): $((size / 1024)) KiB"
    [ "$size" -lt $((8 * 1024 * 1024)) ] || fail "the package has 8 MiB or more"
    lintian --allow-root --fail-on error,warning "$DEB" || fail "lintian has found something"
}

# run_program PROGRAM: starts it without a display and ends it when its main window would stand.
run_program() {
    local status=0
    (cd "$SCRATCH" && XDG_RUNTIME_DIR="$SCRATCH" HOME="$SCRATCH" QT_QPA_PLATFORM=offscreen timeout 5 "$1") || status=$?
    [ "$status" -eq 124 ] || fail "$1 ended by itself with the status $status"
}

# check_batch BEFORE FOLDER PROGRAM...: the program for many files, with all that it loads when a plan needs it. There is no
# measurement in the folder: it says so, and nothing else. BEFORE stands before the folder as seen from here.
check_batch() {
    local before="$1" folder="$2" said
    shift 2
    mkdir "$before$folder"
    "$@" plan --fourier --modulus --features emodulus --output "$folder/plan.json" || fail "no plan can be made"
    said="$("$@" run --plan "$folder/plan.json" --output "$folder/out" "$folder/none.vqd" 2>&1)" &&
        fail "a file that isn't there is done"
    [ "$said" = "tessaly_batch: $folder/none.vqd: no such file" ] || fail "tessaly_batch doesn't work: $said"
}

check_moved_tree() {
    say "Starting the program from a tree that was moved"
    mkdir "$SCRATCH/first"
    dpkg-deb -x "$DEB" "$SCRATCH/first"
    mv "$SCRATCH/first/usr" "$SCRATCH/another place"
    run_program "$SCRATCH/another place/bin/tessaly"
    check_batch "" "$SCRATCH/batch" "$SCRATCH/another place/bin/tessaly_batch"
    local file
    for file in data/tessaly.qch data/LUT_LE_2D_FEM.txt bin/tessaly_probe bin/tessaly_batch \
        lib/tessaly_codecs.so lib/tessaly_ondemand.so \
        "share/tessaly/licenses/Software License Agreement.md" "share/tessaly/licenses/Softwarelizenzvereinbarung.md" \
        "share/tessaly/licenses/(EN) TessalyTHIRD PARTY SOFTWARE NOTICES.md" \
        "share/tessaly/licenses/(DE) Tessaly THIRD PARTY SOFTWARE NOTICES.md" \
        "share/tessaly/licenses/third party licenses/libqt6core6.txt"; do
        [ -s "$SCRATCH/another place/lib/tessaly/$file" ] || fail "the package lacks lib/tessaly/$file"
    done
}

# The archive and the suite come from the system's own configuration.
check_bare_system() {
    local bare="$SCRATCH/bare" suite mirror
    say "Installing into a bare system"
    suite="$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")"
    mirror="$(LC_ALL=C apt-get indextargets --format '$(REPO_URI)' "Codename: $suite" | head -1)"
    debootstrap --variant=minbase "$suite" "$bare" "$mirror" >"$SCRATCH/debootstrap.log" ||
        { tail "$SCRATCH/debootstrap.log"; fail "the bare system could not be made"; }
    cp "$DEB" "$bare/tmp/tessaly.deb"
    # The same sources as here, with the same way to them.
    rm -f "$bare/etc/apt/sources.list"
    cp -r /etc/apt/sources.list* /etc/apt/apt.conf.d "$bare/etc/apt/" 2>/dev/null || true
    mount -t proc proc "$bare/proc" && ROOT_MOUNTS+=("$bare/proc")
    chroot "$bare" apt-get -q update
    DEBIAN_FRONTEND=noninteractive chroot "$bare" apt-get -q install -y --no-install-recommends /tmp/tessaly.deb ||
        fail "the package doesn't install with what it declares"
    say "Starting the program there"
    local status=0
    chroot "$bare" env HOME=/tmp XDG_RUNTIME_DIR=/tmp QT_QPA_PLATFORM=offscreen timeout 5 tessaly || status=$?
    [ "$status" -eq 124 ] || fail "the program ended by itself with the status $status"
    check_batch "$bare" /tmp/batch chroot "$bare" tessaly_batch
    # What the manual needs is loaded at run time and fails without a word.
    cp "$PACKAGE_DIR/bin/tessaly_find_in_manual" "$bare/tmp/"
    chroot "$bare" env HOME=/tmp XDG_RUNTIME_DIR=/tmp QT_QPA_PLATFORM=offscreen \
        /tmp/tessaly_find_in_manual /usr/lib/tessaly/data/tessaly.qch temperature || fail "the manual can't be searched"
    say "Removing it"
    chroot "$bare" apt-get -q remove -y tessaly || fail "the package can't be removed"
    [ ! -e "$bare/usr/lib/tessaly" ] || fail "the package leaves files behind"
}

need cpack cmake
need desktop-file-validate desktop-file-utils
need appstreamcli appstream
need xmllint libxml2-utils
need update-mime-database shared-mime-info
need mandoc mandoc
need lintian lintian
bare=yes
[ "${1:-}" = --no-bare ] && bare=no && shift
check_desktop_files
make_package "$@"
check_package
check_moved_tree
if [ "$bare" = yes ] && [ "$(id -u)" -eq 0 ] && command -v debootstrap >/dev/null 2>&1; then
    check_bare_system
else
    echo "The bare system was left out: it needs root rights and debootstrap."
fi
say "The package is $DEB"
