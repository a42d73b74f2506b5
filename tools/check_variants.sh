#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Checks the objects that are compiled once per processor variant: they must hold no weak symbols. A weak
# symbol (an ordinary inline function, a template) is kept once for the whole program, and the linker may keep
# the copy with wide instructions, which then runs on processors without them.
#   tools/check_variants.sh [BUILD FOLDER]      default: build
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}
objects=$(find "$build/deformers" -name 'variant_*.o' 2>/dev/null | LC_ALL=C sort)
sources=$(find "$root/deformers/talvisora/kernels" -name 'variant_*.cpp' | wc -l)
count=$(echo "$objects" | grep -c . || true)

if [ "$count" = 0 ] || [ "$count" != "$sources" ]; then
    echo "variants: $sources variant sources, but $count objects under $build; build first with scripts/build" >&2
    exit 2
fi

status=0
for object in $objects; do
    weak=$(nm -C "$object" | grep -E ' [WwVvu] ' || true)
    if [ -n "$weak" ]; then
        echo "variants: weak symbols in ${object#"$build"/}:"
        echo "$weak" | sed 's/^/    /'
        status=1
    fi
done
[ $status = 0 ] && echo "variants: $count objects without weak symbols"
exit $status
