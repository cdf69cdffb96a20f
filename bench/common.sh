# shellcheck shell=bash
# Sourced by the scripts here, which have gone to the root of the source before.

# prepare [TARGET...]: builds the programs, and these, with optimisation. Sets program, maker, and work: a folder in memory that is gone
# when the script ends.
prepare() {
    # shellcheck source=cmake/packages.sh
    . cmake/packages.sh
    install_missing_packages packages.txt run test bench

    local build=build/bench
    [[ -f $build/build.ninja ]] || cmake --preset bench >&2
    ninja --quiet -C "$build" pastille store_maker "$@" | sed '/^ninja: no work to do\.$/d' >&2
    if ! grep -q '^CMAKE_BUILD_TYPE:[A-Z]*=Release$' "$build/CMakeCache.txt" ||
        grep -q '^PASTILLE_SANITIZE:[A-Z]*=\(ON\|1\|TRUE\)$' "$build/CMakeCache.txt"; then
        printf 'Only a release build without sanitizers is worth measuring; %s is none.\n' "$build" >&2
        exit 1
    fi
    # shellcheck disable=SC2034  # for the scripts
    program=$build/cli/pastille
    # shellcheck disable=SC2034
    maker=$build/bench/store_maker
    work=$(mktemp -d /dev/shm/pastille-bench-XXXXXX)
    trap 'rm -rf -- "$work"' EXIT
}

# seconds COMMAND...: prints how long it took; its output is kept in $work/last.out and last.err. A command that
# fails ends the script.
seconds() {
    local start=$EPOCHREALTIME
    "$@" >"$work/last.out" 2>"$work/last.err" || {
        cat "$work/last.err" >&2
        printf 'failed: %s\n' "$*" >&2
        return 1
    }
    awk -v a="$start" -v b="$EPOCHREALTIME" 'BEGIN { printf "%.4f\n", b - a }'
}

# measured COMMAND...: runs it under time(1), which writes to $work/time.
measured() { /usr/bin/time -v -o "$work/time" "$@"; }
# peak_kilobytes: of the command measured last.
peak_kilobytes() { sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time"; }

median() { sort -g | awk '{ v[NR] = $1 } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
# figure NAME: a number of the report printed last.
figure() { sed -n "s/^ *\"$1\": \([0-9.e+-]*\),\{0,1\}$/\1/p" "$work/last.out" | head -n 1; }
