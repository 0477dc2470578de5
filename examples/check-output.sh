#!/usr/bin/env bash
# Runs a program and compares what it prints and its exit status to a file.
# Usage: check-output.sh EXPECTED INPUT PROGRAM [ARGUMENT...]
set -euo pipefail
expected=$1 input=$2
shift 2
export LC_ALL=C.UTF-8

scratch=$(mktemp -d)
trap 'rm -r "$scratch"' EXIT

status=0
"$@" <"$input" >"$scratch/output" 2>"$scratch/errors" || status=$?
{
    cat "$scratch/output"
    sed 's/^/standard error: /' "$scratch/errors"
    echo "exit status: $status"
} >"$scratch/all"
diff -au "$expected" "$scratch/all"
