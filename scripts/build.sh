#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# scripts/build.sh PRESET [TARGET…]: configures where that is needed and builds the targets (all when
# none is named). The tools' output appears only when they fail; a terminal sees the step at hand.
set -euo pipefail

cd -- "$(dirname -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")")"
preset=$1
targets=("${@:2}")
case $preset in
    release | ci) folder=build ;;
    *) folder=build/$preset ;;
esac
log=build/log/$preset.log

# must_configure: whether Ninja cannot know by itself that CMake has to run.
must_configure() {
    [[ ! $folder/build.ninja -nt CMakePresets.json ]] && return
    # Configured before the test library was installed.
    ((${#targets[@]} == 0)) && [[ ! -e $folder/tests/CTestTestfile.cmake ]]
}

# show_progress: each line of the input in the place of the one before.
show_progress() {
    local line columns
    read -r _ columns < <(stty size <&2) && ((columns > 0)) || columns=80
    while IFS= read -r line; do
        printf '\r\033[K%s' "${line:0:columns-1}" >&2
    done
    printf '\r\033[K' >&2
}

# quietly COMMAND…: the output goes into the log and is shown, without the steps that went well,
# when the command fails.
quietly() {
    if [[ -t 2 ]]; then
        "$@" 2>&1 </dev/null | tee "$log" | show_progress && return
    else
        "$@" >"$log" 2>&1 </dev/null && return
    fi
    grep -v '^\[[0-9]*/[0-9]*\] ' "$log" >&2 || true
    printf 'Failed: %s\n' "$*" >&2
    exit 1
}

mkdir -p "${log%/*}" "$folder"
# One build at a time in a folder: two would write the same files.
exec {lock}>"$folder/.lock"
flock --nonblock "$lock" || { echo 'Waiting for another build to end.' >&2 && flock "$lock"; }

# ccache compiles nothing when it cannot write its cache.
cache=$(ccache --get-config cache_dir 2>/dev/null || true)
if ! mkdir -p "$cache/tmp" 2>/dev/null || [[ ! -w $cache || ! -w $cache/tmp ]]; then
    export CCACHE_DIR=$PWD/build/ccache
fi

[[ -t 2 || -e $folder/build.ninja ]] || echo "Building ($preset); the first time takes minutes." >&2
if must_configure; then
    quietly cmake --preset "$preset"
fi
quietly cmake --build --preset "$preset" -j "$(nproc)" ${targets[@]:+--target "${targets[@]}"}
