#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Counts the instructions that the point stage spends per point (AVX code path, fixed inputs, under callgrind)
# and holds them to the bounds in tools/instruction_bounds.txt: 5 % above what they were when they were last set. A bound that would let a slip
# of 10 % pass, because the code became faster since, fails as well.
#   tools/count_instructions.sh BUILD FOLDER [--set]      --set: write today's counts as the new bounds
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 2
build=${1:?usage: tools/count_instructions.sh BUILD FOLDER [--set]}
bounds=tools/instruction_bounds.txt
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

count() { # instructions of one scene per thousand points
    local total
    valgrind --tool=callgrind --callgrind-out-file="$folder/$1" --toggle-collect=talvisoraCounted \
        "$build/bin/talvisora_guard" "$1" >"$folder/$1.log" 2>&1 || { tail -n 20 "$folder/$1.log" >&2; return 1; }
    total=$(sed -n 's/^totals: //p' "$folder/$1")
    [ "${total:-0}" -gt 0 ] || { echo "count_instructions: nothing was counted for $1" >&2; return 1; }
    echo $((total / 40))
}

status=0
for scene in plain tweaks blocks; do
    now=$(count "$scene") || exit 2
    if [ "${2:-}" = --set ]; then
        echo "$scene $((now * 105 / 100))" >>"$folder/new"
        continue
    fi
    bound=$(sed -n "s/^$scene //p" "$bounds")
    if [ -z "$bound" ]; then
        echo "instructions: $bounds has no bound for $scene" >&2
        status=1
    elif [ "$now" -gt "$bound" ]; then
        echo "instructions: $scene: $now per 1000 points, more than the bound of $bound;" \
            "find what slowed the point stage, or set new bounds with --set and say why" >&2
        status=1
    elif [ "$bound" -ge $((now * 110 / 100)) ]; then
        echo "instructions: $scene: $now per 1000 points, so little that the bound of $bound would let a slip of" \
            "10 % pass; set new bounds with --set" >&2
        status=1
    else
        echo "instructions: $scene: $now per 1000 points, bound $bound"
    fi
done
[ "${2:-}" != --set ] || { cp "$folder/new" "$bounds" && cat "$bounds"; }
exit $status
