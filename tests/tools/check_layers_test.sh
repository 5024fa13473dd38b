#!/usr/bin/env bash
# The layering check against copies of src/ with one fault each: it must fail and name the line.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
check="$root/tools/check-layers"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fails=0
expect_fault() {  # name, file to edit, line to add, text the report must hold
    local name=$1 file=$2 line=$3 want=$4 out
    rm -rf "$work/src" && cp -r "$root/src" "$work/src"
    echo "$line" >>"$work/src/$file"
    if out=$("$check" "$work/src" 2>&1); then
        echo "FAIL $name: the check passed"; fails=1
    elif ! grep -qF -- "$want" <<<"$out"; then
        echo "FAIL $name: the report lacks \"$want\":"; echo "$out"; fails=1
    else
        echo "ok   $name: $(head -1 <<<"$out")"
    fi
}

cp -r "$root/src" "$work/src"
"$check" "$work/src" >/dev/null || { echo "FAIL the unchanged copy does not pass"; exit 1; }

lines=$(($(wc -l <"$root/src/engine/position.cpp") + 1))
expect_fault upward engine/position.cpp '#include "shell/panner.h"' "src/engine/position.cpp:$lines: engine/ includes \"shell/panner.h\""
expect_fault host foundation/numbers.cpp '#include "host/host.h"' 'outside src/'
expect_fault same-layer platform/files_posix.cpp '#include "vst/aeffect.h"' 'a folder of the same layer'
expect_fault loop engine/records.h '#include "engine/position.h"' 'round a loop'
expect_fault unknown-folder engine/records.cpp '#include "gadgets/thing.h"' 'outside src/'
exit $fails
