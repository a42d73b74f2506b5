#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Checks the text of the tracked files: the licence line, no unfinished marks, no personal folders, formatting.
#   tools/check_sources.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
status=0
fail() { # WHAT LINES
    echo "sources: $1:"
    echo "$2" | sed 's/^/    /'
    status=1
}

# Tracked files that are there (a file may be deleted and not committed yet).
present() { git ls-files -- "$@" | while read -r file; do [ -f "$file" ] && echo "$file"; done; }
code=$(present '*.h' '*.cpp' '*.cl' '*.py')
scripts=$(present '*.sh' 'scripts/*' 'bin/*' '.ci/*' '*CMakeLists.txt' '*.cmake')
if [ -z "$code" ]; then
    echo "sources: no tracked sources found" >&2
    exit 2
fi

missing=$(for file in $code $scripts; do
    head -n 2 "$file" | grep -q 'SPDX-License-Identifier: Apache-2.0' || echo "$file"
done)
[ -z "$missing" ] || fail "the first line must be 'SPDX-License-Identifier: Apache-2.0' as a remark" "$missing"

# (The marks are written in pieces, so that this file does not find itself.)
marks='TO''DO|FIX''ME|XX''X'
found=$(grep -nE "\b($marks)\b" $code $scripts | cut -c1-140 || true)
[ -z "$found" ] || fail "unfinished marks; finish the work or say in plain words what is left out" "$found"

personal='(^|[^A-Za-z0-9_.])/(ho''me|ro''ot|Us''ers)/[A-Za-z]'
found=$(git grep -nIE "$personal" -- . | cut -c1-140 || true)
[ -z "$found" ] || fail "a folder of one machine" "$found"

if command -v clang-format >/dev/null; then
    major=$(clang-format --version | sed -n 's/.*version \([0-9]*\)\..*/\1/p')
    if [ "$major" = 14 ]; then
        found=$(present '*.h' '*.cpp' | xargs -r -P 2 -n 20 clang-format --dry-run 2>&1 |
            sed -n 's/^\([^:]*:[0-9]*\):.*warning:.*/\1/p' | LC_ALL=C sort -u || true)
        [ -z "$found" ] || fail "not as .clang-format says; run clang-format -i on these" "$found"
    else
        fail "clang-format 14 is needed, this is another" "clang-format $major; scripts/setup installs 14 on Debian 12"
    fi
else
    fail "clang-format is not there" "scripts/setup installs it"
fi

[ $status = 0 ] && echo "sources: $(echo "$code" | wc -l) sources and $(echo "$scripts" | wc -l) scripts in order"
exit $status
