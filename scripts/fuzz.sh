#!/usr/bin/env bash
# Sets up, builds the fuzz targets, and lets an engine invent inputs for each. Prints a line a target:
# how many inputs ran, how much of the code they reached, how many are worth keeping, and whether one
# broke something. Fails if any did; the line then ends with the file that does it again:
#     build/fuzz/fuzz/fuzz_TARGET FILE
# Such a file belongs into fuzz/corpus/TARGET once the fault is mended. What else a run learns stays
# in build/fuzz/learned/TARGET, where the next one begins.
#
# usage: fuzz.sh [--jobs N] [SECONDS [TARGET...]]
#   SECONDS   for each target, 60 unless said
#   TARGET    of fuzz/targets, all unless said
#   --jobs N  so many targets at a time, as many as there are processors unless said
# TAVO_JOBS: how many compilers run at a time; all processors otherwise.
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"

seconds=60
jobs=$(nproc)
targets=()
out=build/fuzz

parse_options()
{
    local words=()
    while [ $# -gt 0 ]; do
        case $1 in
            --jobs)
                [ $# -ge 2 ] || die "$1 needs a value"
                jobs=$2
                shift
                ;;
            --help | -h)
                sed -n '2,/^set /{/^set /d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]}"
                exit 0
                ;;
            -*) die "unknown option $1; see $0 --help" ;;
            *) words+=("$1") ;;
        esac
        shift
    done
    seconds=${words[0]:-$seconds}
    targets=("${words[@]:1}")
    [[ $seconds =~ ^[1-9][0-9]*$ ]] || die "$seconds is no number of seconds; see $0 --help"
    [[ $jobs =~ ^[1-9][0-9]*$ ]] || die "$jobs is no number of targets; see $0 --help"
}

choose_targets()
{
    local target
    [ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(basename -a -s .cpp fuzz/targets/*.cpp)
    for target in "${targets[@]}"; do
        [ -f "fuzz/targets/$target.cpp" ] || die "there is no fuzz/targets/$target.cpp"
    done
}

build_targets()
{
    {
        cmake --preset fuzz
        cmake --build --preset fuzz -j "${TAVO_JOBS:-$(nproc)}" --target "${targets[@]/#/fuzz_}"
    } >"$out/build.log" 2>&1 || {
        tail -n 40 "$out/build.log" >&2
        die "the fuzz targets could not be built"
    }
}

# last_of LOG EXPRESSION: the last text in LOG that the expression's group matches, or "?".
last_of()
{
    sed -n "s/^.*$2.*\$/\\1/p" "$1" | tail -n 1 | grep . || printf '?\n'
}

# report TARGET LOG OUTCOME
report()
{
    printf '%-20s runs %-9s coverage %-6s corpus %-6s %s\n' "$1" \
        "$(last_of "$2" 'number_of_executed_units: *\([0-9]*\)')" \
        "$(last_of "$2" ' cov: \([0-9]*\)')" "$(last_of "$2" ' corp: \([0-9]*\)')" "$3"
}

# run TARGET: from its stored inputs on, with its dictionary if it has one.
run()
{
    local target=$1 log=$out/$1.log found
    local options=(-max_total_time="$seconds" -timeout=10 -print_final_stats=1
        -close_fd_mask=3 # what the library logs
        -artifact_prefix="$out/findings/$target/")
    rm -rf "$out/findings/$target"
    mkdir -p "$out/learned/$target" "$out/findings/$target"
    [ ! -f "fuzz/dictionaries/$target" ] || options+=(-dict="fuzz/dictionaries/$target")
    if "$out/fuzz/fuzz_$target" "${options[@]}" "$out/learned/$target" "fuzz/corpus/$target" \
        >"$log" 2>&1; then
        report "$target" "$log" "no finding"
        return
    fi
    found=$(find "$out/findings/$target" -type f | head -n 1)
    report "$target" "$log" "FINDING ${found:-see $log}"
    return 1
}

parse_options "$@"
"$here/setup.sh" fuzz
cd "$(repo_dir)"
choose_targets
mkdir -p "$out"
exec {lock}>"$out/lock"
flock --nonblock "$lock" || die "another run of this has $PWD/$out; it would spoil its findings"
build_targets

# Many inputs become files for a moment: they are quicker where no disk is.
scratch=$(mktemp -d -p "$([ -w /dev/shm ] && printf /dev/shm || printf '%s' "${TMPDIR:-/tmp}")")
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch

findings=$out/findings.txt
: >"$findings"
for target in "${targets[@]}"; do
    [ "$(jobs -rp | wc -l)" -lt "$jobs" ] || wait -n
    { run "$target" || printf '%s\n' "$target" >>"$findings"; } &
done
wait
[ ! -s "$findings" ] || exit 1
