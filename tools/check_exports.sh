#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Checks the names that the built module exports: exactly these, and the same in both linker lists.
#   tools/check_exports.sh [LIBRARY]      default: build/bin/libtalvisora.so
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
library=${1:-$root/build/bin/libtalvisora.so}
module=$root/deformers/talvisora
expected=$(printf '%s\n' checkFloatingPoints create help resetParams resetWeights)

if [ ! -f "$library" ]; then
    echo "exports: $library is not there; build first with scripts/build" >&2
    exit 2
fi

status=0
compare() { # WHAT FOUND
    if [ "$2" != "$expected" ]; then
        echo "exports: $1 holds other names (< expected, > found):"
        diff <(echo "$expected") <(echo "$2") || true
        status=1
    fi
}
compare "$library" "$(nm -D --defined-only "$library" | awk '{print $NF}' | LC_ALL=C sort)"
compare exports.map "$(sed -n '/global:/,/local:/p' "$module/exports.map" | sed -n 's/^ *\([A-Za-z_]*\);.*/\1/p' | LC_ALL=C sort)"
compare exports.def "$(sed -n '/^EXPORTS/,$p' "$module/exports.def" | sed -n 's/^ \{1,\}\([A-Za-z_]*\).*/\1/p' | LC_ALL=C sort)"
[ $status = 0 ] && echo "exports: $(echo "$expected" | wc -l) names, as expected"
exit $status
