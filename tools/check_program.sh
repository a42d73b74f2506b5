#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Puts the OpenCL program through clang's OpenCL front end, which needs no device: the module's three files as the
# one text that they become, and the plain form of the tests. Every warning is an error.
#   tools/check_program.sh
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 2

compiler=
for name in clang clang-15 clang-14; do
    command -v "$name" >/dev/null && { compiler=$name; break; }
done
if [ -z "$compiler" ]; then
    echo "program: no clang here; scripts/setup installs one with the OpenCL run-time" >&2
    exit 1
fi
# accepts TEXT FROM STANDARD INPUT, as OpenCL C 1.2
accepts() {
    "$compiler" -x cl -cl-std=CL1.2 -Xclang -finclude-default-header -fsyntax-only -Wall -Wextra -Wdouble-promotion \
        -Werror -
}

status=0
parts=deformers/talvisora/kernels
cat $parts/curve.cl $parts/records.cl $parts/run.cl | accepts || { echo "program: the module's text has faults"; status=1; }
accepts <tests/reference/plain_program.cl || { echo "program: the plain form has faults"; status=1; }
# what the check is for, or it would pass anything
if echo 'kernel void run(global float* out) { out[0] = missing; }' | accepts 2>/dev/null; then
    echo "program: $compiler accepts a text with an unknown name" >&2
    status=1
fi
[ $status = 0 ] && echo "program: both texts in order ($compiler)"
exit $status
