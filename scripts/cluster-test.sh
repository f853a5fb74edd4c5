#!/usr/bin/env bash
# Runs the workflow on a real cluster of one node: Slurm on the loopback address, two workers, 200 files. One running job
# is killed and the controller restarted on the way. The merged table must be that of a local run, byte by byte. Then what
# changes is done again, and nothing else.
# usage: cluster-test.sh [FILES]
# Installs what is missing, takes some minutes, gives up after a quarter of an hour, leaves nothing running.
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Whatever hangs, it ends.
if [ -z "${TESSALY_CLUSTER_TEST:-}" ]; then
    TESSALY_CLUSTER_TEST=1 exec timeout --kill-after=60 900 bash "${BASH_SOURCE[0]}" "$@"
fi

files="${1:-200}"
work="$(mktemp -d "${TMPDIR:-/tmp}/tessaly-cluster.XXXXXX")"
user="$(id -un)"
host="$(hostname -s)"
port=$((20000 + RANDOM % 20000))
declare -A daemon=() # ids of the processes started here
export SLURM_CONF="$work/slurm.conf"

# Ends a process, or with "-" before its id all of its group, and waits; kills what takes too long.
end_process() {
    kill -- "$1" 2>/dev/null || return 0
    for _ in $(seq 100); do
        kill -0 -- "$1" 2>/dev/null || return 0
        sleep 0.1
    done
    kill -KILL -- "$1" 2>/dev/null || true
}

clean_up() {
    trap - EXIT
    scancel --user="$user" >/dev/null 2>&1 || true
    [ -z "${daemon[workflow]:-}" ] || end_process "-${daemon[workflow]}"
    for name in slurmd slurmctld munged; do
        [ -z "${daemon[$name]:-}" ] || end_process "${daemon[$name]}"
    done
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 1' INT TERM

install_missing() {
    local missing=()
    command -v slurmctld >/dev/null 2>&1 || missing+=(slurmctld slurm-client)
    command -v slurmd >/dev/null 2>&1 || missing+=(slurmd)
    command -v munged >/dev/null 2>&1 || missing+=(munge)
    command -v snakemake >/dev/null 2>&1 || missing+=(snakemake)
    [ ${#missing[@]} -gt 0 ] || return 0
    say "Installing ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q update || fail "the package lists could not be read"
    # In this run level no service of the packages is started.
    as_root env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 \
        apt-get -q install -y --no-install-recommends "${missing[@]}" || fail "the packages could not be installed"
}

write_configuration() {
    mkdir -p "$work/state" "$work/spool" "$work/munge"
    chmod 700 "$work/munge"
    dd if=/dev/urandom of="$work/munge/key" bs=1024 count=1 status=none
    chmod 600 "$work/munge/key"
    cat >"$SLURM_CONF" <<END
ClusterName=tessaly
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$port
SlurmdPort=$((port + 1))
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
SlurmUser=$user
SlurmdUser=$user
AuthType=auth/munge
AuthInfo=socket=$work/munge/socket
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
MpiDefault=none
MinJobAge=600
ReturnToService=2
SlurmdParameters=config_overrides
NodeName=$host NodeAddr=127.0.0.1 CPUs=2 RealMemory=4000 State=UNKNOWN
PartitionName=test Nodes=ALL Default=YES MaxTime=INFINITE State=UP
END
}

start_controller() {
    slurmctld -D -f "$SLURM_CONF" >>"$work/slurmctld.out" 2>&1 &
    daemon[slurmctld]=$!
}

# until_true SECONDS COMMAND...: waits until a command succeeds.
until_true() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $end ] || return 1
        sleep 0.2
    done
}

is_ready() { [ "$(sinfo -h -o %T 2>/dev/null | head -n 1)" = idle ]; }

start_cluster() {
    munged --foreground --force --key-file="$work/munge/key" --socket="$work/munge/socket" \
        --pid-file="$work/munge/pid" --log-file="$work/munge/log" --seed-file="$work/munge/seed" \
        >"$work/munge/out" 2>&1 &
    daemon[munged]=$!
    until_true 20 test -S "$work/munge/socket" || fail "munged doesn't start: $(tail -n 3 "$work/munge/log")"
    start_controller
    slurmd -D -f "$SLURM_CONF" >"$work/slurmd.out" 2>&1 &
    daemon[slurmd]=$!
    until_true 60 is_ready ||
        fail "the cluster doesn't start: $(tail -n 3 "$work/slurmctld.out" "$work/slurmd.out" "$work"/*.log 2>/dev/null)"
}

python_with_h5py() {
    local candidate
    for candidate in python3 /usr/bin/python3; do
        "$candidate" -c "import h5py" 2>/dev/null && printf '%s' "$candidate" && return
    done
    fail "no python3 with h5py was found; scripts/setup.sh installs python3-h5py"
}

make_files() {
    "$BUILD_ROOT/release/bin/tessaly_demo" --output "$work/demo" --events 2000 --no-images >/dev/null ||
        fail "the demo file could not be made"
    "$(python_with_h5py)" - "$work/demo" "$work/data" "$files" <<'END' || fail "the files could not be made"
import pathlib
import shutil
import sys

import h5py

source = next(pathlib.Path(sys.argv[1]).glob("*.vqd"))
for number in range(int(sys.argv[3])):
    target = pathlib.Path(sys.argv[2]) / f"plate{number // 20}" / f"run{number}.vqd"
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(source, target)
    with h5py.File(target, "a") as file:
        file.attrs["experiment:sample"] = f"run {number}"
        file["events/deform"][...] = file["events/deform"][()] * (1 + number / 1000)
END
    tessaly_batch plan --modulus --features area_um,deform,emodulus --range area_um,30,300 --counts \
        --output "$work/plan.json"
}

# configuration NAME: where a run of that name reads and writes.
configuration() {
    printf 'root: %s\nplan: %s\noutput: %s\nfiles_a_job: 5\nmemory_mb: 50\nminutes: 1\nmerge: ""\n' \
        "$work/data" "$work/plan.json" "$work/$1" >"$work/$1.yaml"
    printf '%s' "$work/$1.yaml"
}

run_workflow() { "$ROOT_DIR/scripts/batch.sh" --profile "$1" "$2" "${@:3}" >>"$work/workflow.log" 2>&1; }

a_job_runs() { [ -n "$(squeue -h -t RUNNING -o %i 2>/dev/null | head -n 1)" ]; }

# A file that changed, one whose record has gone and one that is new are done, and no other.
check_again() {
    local redone
    touch "$work/stamp"
    sleep 0.1
    touch "$work/data/plate0/run0.vqd"
    rm "$work/local/rows/plate0/run1.vqd.row"
    cp "$work/data/plate0/run2.vqd" "$work/data/plate0/new.vqd"
    run_workflow local "$(configuration local)" || fail "the local run failed: $(tail -n 15 "$work/workflow.log")"
    redone="$(cd "$work/local/rows" && find . -name '*.row' -newer "$work/stamp" | sort | tr '\n' ' ')"
    [ "$redone" = "./plate0/new.vqd.row ./plate0/run0.vqd.row ./plate0/run1.vqd.row " ] || fail "done again: $redone"
    [ "$(wc -l <"$work/local/summary.tsv")" -eq $((files + 2)) ] || fail "the new file has no row"
}

install_missing
[ -x "$BUILD_ROOT/release/bin/tessaly_demo" ] && [ -x "$BUILD_ROOT/release/bin/tessaly_batch" ] ||
    fail "the programs are not built; scripts/run.sh builds them"
export PATH="$BUILD_ROOT/release/bin:$PATH"
cd "$work"

say "Making $files files"
make_files
say "Local run"
run_workflow local "$(configuration local)" || fail "the local run failed: $(tail -n 15 "$work/workflow.log")"
say "Starting the cluster"
write_configuration
start_cluster
say "Run on the cluster"
# A session of its own, so that all of its processes can be ended together.
setsid "$ROOT_DIR/scripts/batch.sh" --profile slurm "$(configuration slurm)" --jobs 4 --group-components files=4 \
    >>"$work/workflow.log" 2>&1 &
daemon[workflow]=$!
until_true 120 a_job_runs || fail "no job runs: $(tail -n 15 "$work/workflow.log")"
victim="$(squeue -h -t RUNNING -o %i | head -n 1)"
scancel --signal=KILL --full "$victim" || fail "the job $victim could not be killed"
echo "Killed job $victim"
until_true 60 a_job_runs || fail "no further job runs"
end_process "${daemon[slurmctld]}"
sleep 2
start_controller
echo "Restarted the controller"
if ! wait "${daemon[workflow]}"; then
    daemon[workflow]=
    say "Continuing the run"
    run_workflow slurm "$(configuration slurm)" --jobs 4 --group-components files=4 ||
        fail "the run could not be continued: $(tail -n 15 "$work/workflow.log")"
fi
daemon[workflow]=
cmp "$work/local/summary.tsv" "$work/slurm/summary.tsv" || fail "the tables differ"
[ "$(wc -l <"$work/slurm/summary.tsv")" -eq $((files + 1)) ] || fail "rows are missing"
check_again
jobs="$(squeue -h -t all -o %T | sort | uniq -c | tr '\n' ' ')"
say "The tables of both runs are the same: $files files, jobs: $jobs, $SECONDS s"
