#!/usr/bin/env bash
# Tells the workflow how a job of the cluster stands: running, success or failed. A controller that doesn't answer
# leaves the job running as far as anybody knows.
state="$(scontrol show job "$1" 2>/dev/null | sed -n 's/.*JobState=\([A-Z_]*\).*/\1/p' | head -n 1)"
if [ -z "$state" ] && command -v sacct >/dev/null 2>&1; then
    state="$(sacct -n -X -j "$1" -o State 2>/dev/null | awk 'NR == 1 { print $1 }')"
fi
case "$state" in
COMPLETED) echo success ;;
"" | PENDING | CONFIGURING | RUNNING | COMPLETING | SUSPENDED | REQUEUED | RESIZING) echo running ;;
*) echo failed ;;
esac
