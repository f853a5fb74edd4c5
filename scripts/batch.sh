#!/usr/bin/env bash
# Does a plan for all measurement files that a configuration names, on all cores or on a cluster, and joins the rows.
# usage: batch.sh [--profile local|slurm|FOLDER] CONFIG.yaml [SNAKEMAKE-OPTION...]
# Installs what is missing (Debian and Ubuntu). Safe to run again: what is done stays done.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

profile=local
if [ "${1:-}" = "--profile" ] && [ $# -ge 2 ]; then
    profile="$2"
    shift 2
fi
[ $# -ge 1 ] && [ "${1#-}" = "$1" ] || fail "usage: batch.sh [--profile local|slurm|FOLDER] CONFIG.yaml [OPTION...]"
config="$1"
shift
[ -f "$config" ] || fail "there is no configuration $config; workflow/config.yaml explains what goes into one"
# Names come before folders: results may well lie in a folder "local".
[ ! -d "$ROOT_DIR/workflow/profiles/$profile" ] || profile="$ROOT_DIR/workflow/profiles/$profile"
[ -f "$profile/config.yaml" ] || fail "there is no profile $profile"

if ! command -v snakemake >/dev/null 2>&1; then
    say "Installing snakemake"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q update || fail "the package lists could not be read"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q install -y --no-install-recommends snakemake ||
        fail "snakemake could not be installed"
fi
# The program: in the path as packages put it, or as it was built here.
export PATH="$profile:$PATH:$BUILD_ROOT/release/bin"
command -v tessaly_batch >/dev/null 2>&1 || fail "tessaly_batch is neither installed nor built (scripts/run.sh builds)"

say "Running the plan of $config"
snakemake --snakefile "$ROOT_DIR/workflow/Snakefile" --profile "$profile" --configfile "$config" "$@" ||
    fail "the run is not complete; running it again takes up where it stopped"
say "Done"
