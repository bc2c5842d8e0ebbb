#!/usr/bin/env bash
# Builds in release and runs all benchmarks: those of the hot paths, each beside its floor, and two
# scenarios over the library, the host, the application and the services. Leaves a JSON file of each
# and closes with all goals, one a line, and which of them hold. Fails where one does not. Wants a
# quiet machine: beside other work, only ratios within one program mean something.
#
# usage: bench.sh [--output FOLDER] [NAME...]
#   --output   where the figures go (build/bench)
#   NAME       only these: handoff, result, dialog, log, decryption ..., many_cameras, bad_neighbours
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/apt.sh
. "$here/lib/apt.sh"

readonly kScenarios=(many_cameras bad_neighbours)
readonly kScenarioTargets=(tavo_orlix_manager_plugin tavo_host tavo_services runtime_packages
    orlix_manager_archive)

repo=$(repo_dir)
build=$repo/build/release
output=$repo/build/bench
names=()
failed=0

parse_options()
{
    while [ $# -gt 0 ]; do
        case $1 in
            --output)
                [ $# -ge 2 ] || die "$1 needs a value"
                output=$2
                shift
                ;;
            --help | -h)
                sed -n '2,/^set /{/^set /d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]}"
                exit 0
                ;;
            -*) die "unknown option $1; see $0 --help" ;;
            *) names+=("$1") ;;
        esac
        shift
    done
}

# The names of all benchmark programs, then of the scenarios.
all_names()
{
    basename -a -s _benchmark.cpp "$repo"/bench/*_benchmark.cpp
    printf '%s\n' "${kScenarios[@]}"
}

is_scenario()
{
    [[ " ${kScenarios[*]} " == *" $1 "* ]]
}

build_all()
{
    local targets=() name
    for name in "${names[@]}"; do
        if is_scenario "$name"; then
            targets+=("${kScenarioTargets[@]}")
        else
            targets+=("${name}_benchmark")
        fi
    done
    (
        cd "$repo"
        cmake --preset release >/dev/null
        cmake --build --preset release -j "${TAVO_JOBS:-$(nproc)}" --target "${targets[@]}"
    )
}

# run NAME: shows its lines and keeps them, with the figures as JSON beside.
run()
{
    say "" "== $1"
    if is_scenario "$1"; then
        python3 "$repo/bench/scenarios.py" "$1" --build "$build" --out "$output/$1.json"
    else
        "$build/bench/${1}_benchmark" --benchmark_out="$output/$1.json" \
            --benchmark_out_format=json
    fi 2>&1 | tee "$output/$1.log" || failed=1
}

parse_options "$@"
"$here/setup.sh" build
command -v python3 >/dev/null || install_packages python3
[ ${#names[@]} -gt 0 ] || mapfile -t names < <(all_names)
build_all
mkdir -p "$output"
output=$(cd "$output" && pwd)
rm -f "$output"/*.log "$output"/*.json
for name in "${names[@]}"; do
    run "$name"
done
say "" "Figures: $output/*.json" ""
# What does not hold is what is read last.
sed -n 's/^goal: \(.*: holds\)$/\1/p' "$output"/*.log
sed -n '/: holds$/!s/^goal: //p' "$output"/*.log
exit "$failed"
