#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the tests of the OpenCL program in a simulator that watches every access: none may lie outside its buffer, no
# two work-items may meet at one place. The simulator's exit status says nothing, so its log decides.
#   tools/check_program_memory.sh BUILD FILTER     FILTER as GoogleTest takes it
#   tools/check_program_memory.sh --where          the simulator's library, nothing when it is not installed
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 2

library=
for file in /usr/lib/oclgrind/liboclgrind-rt-icd.so /usr/lib/*/oclgrind/liboclgrind-rt-icd.so; do
    [ -f "$file" ] && library=$file
done
[ "${1:-}" = --where ] && { echo "$library"; exit 0; }
tests=$1/bin/test_kernels filter=$2
if [ -z "$library" ]; then
    echo "program memory: not checked, oclgrind is not installed (scripts/setup --all)"
    exit 0
fi
[ -x "$tests" ] || { echo "program memory: $tests is not there; build it first" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/vendors"
echo "$library" >"$work/vendors/oclgrind.icd"
# watched LOG GTEST-OPTIONS…: the tests with the simulator as the only device
watched() {
    local log=$1
    shift
    : >"$log"
    env OCL_ICD_VENDORS="$work/vendors" OCLGRIND_CHECK_API=1 OCLGRIND_DATA_RACES=1 OCLGRIND_LOG="$log" \
        OCLGRIND_MAX_WGSIZE=64 timeout 1800 "$tests" --gtest_brief=1 "$@" >"$work/talk" 2>&1
}

# First that it would report at all: one stray write, one race.
TALVISORA_PROGRAM_FAULTS=1 watched "$work/bad" --gtest_filter=ProgramFaults.AreReported
for report in 'Invalid write' 'race'; do
    grep -q "$report" "$work/bad" || { echo "program memory: the simulator did not report what it must: $report" >&2; exit 1; }
done

started=$SECONDS
watched "$work/log" --gtest_filter="$filter"
status=$?
if [ -s "$work/log" ]; then
    echo "program memory: reports:"
    head -n 60 "$work/log"
    exit 1
fi
if [ $status != 0 ] || ! grep -q '^\[  PASSED  \]' "$work/talk" || grep -q '^\[  SKIPPED' "$work/talk"; then
    tail -n 40 "$work/talk"
    echo "program memory: the tests did not pass in the simulator (status $status)"
    exit 1
fi
echo "program memory: $(sed -n 's/^\[==========\] \([0-9]* tests*\) .*/\1/p' "$work/talk" | tail -n 1), no report ($((SECONDS - started)) s)"
