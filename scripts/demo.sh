#!/usr/bin/env bash
# Shows the library at work, from a server on which nothing is installed: sets up, builds, starts a
# stand-in cloud and storage, and lets the stand-in host play a video of pedestrians to the library
# for a minute. The library fetches the application, offers two runtimes, takes the choice that a
# user would make, fetches and decrypts the model that the cloud assigned, and people are found. A
# second, shorter run shows that it then finds everything in its place. Leaves a video with what was
# found drawn into it, and a sheet of stills.
#
# Both show it in a browser as well, at the address that the host prints.
#
# usage: demo.sh [--camera FILE|URL] [--cameras N] [--seconds N] [--output FOLDER] [--page PORT]
#                [--stay]
#   --camera   play this instead: a file, or the address of a camera's stream
#   --cameras  how many cameras show it at once (1)
#   --seconds  how long the first run is (75)
#   --output   where the results go (build/demo)
#   --page     the port on this machine where a browser finds it (any that is free)
#   --stay     the second run, and its page with it, goes on until Ctrl+C
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/assets.sh
. "$here/lib/assets.sh"

readonly kTargets=(tavo_orlix_manager_plugin tavo_host tavo_services runtime_packages
    orlix_manager_archive)
readonly kChoice="libraryChoiceGeneric CPU"
readonly kChoiceSecond=8
readonly kSecondRunSeconds=20

camera=
cameras=1
seconds=75
build_dir=$(repo_dir)/build/release
output=$(repo_dir)/build/demo
services=
page=0
stay=no

usage()
{
    sed -n '2,/^set /{/^set /d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]}"
}

parse_options()
{
    while [ $# -gt 0 ]; do
        case $1 in
            --help | -h)
                usage
                exit 0
                ;;
            --stay)
                stay=yes
                shift
                ;;
            --camera | --cameras | --seconds | --output | --page)
                [ $# -ge 2 ] || die "$1 needs a value; see $0 --help"
                printf -v "${1#--}" '%s' "$2"
                shift 2
                ;;
            *) die "unknown option $1; see $0 --help" ;;
        esac
    done
    [[ $cameras =~ ^[1-9][0-9]{0,2}$ ]] || die "--cameras takes a number from 1 to 999"
}

set_up()
{
    "$here/setup.sh" demo
    [ -n "$camera" ] || camera=$(video_path)
}

build()
{
    say "Building: ${kTargets[*]}"
    (
        cd "$(repo_dir)"
        cmake --preset release >/dev/null
        cmake --build --preset release -j "${TAVO_JOBS:-$(nproc)}" --target "${kTargets[@]}"
    )
}

# start_services: on a port of the system's choice, which is then in $port. They write what a server
# has that the library meets for the first time.
start_services()
{
    local log=$output/services.log
    : >"$log"
    "$build_dir/devkit/services/tavo_services" --token demo-token \
        --catalogue "$(repo_dir)/devkit/services/catalogue.json" \
        --files "$(dirname "$(model_path)")" \
        --archive "$(find "$build_dir/devkit/manager" -maxdepth 1 -name 'orlix_manager-*.tgz')" \
        --runtimes "$build_dir/devkit/services/runtimes" \
        --server "$work" --cameras "$cameras" --ini modelDownloadSeconds=30 >"$log" 2>&1 &
    services=$!
    for _ in $(seq 100); do
        port=$(sed -n 's/^serving on port \([0-9]*\)$/\1/p' "$log")
        [ -z "$port" ] || return 0
        kill -0 "$services" 2>/dev/null || break
        sleep 0.1
    done
    die "the stand-in services did not start: $(cat "$log")"
}

requests()
{
    curl -sS "http://127.0.0.1:$port/control/requests"
}

# play SECONDS NAME [OPTION...]: runs the host, which shows a line a second; 0 seconds is until
# Ctrl+C, which is then for the host alone. What the user keeps for the library stays out of this, and
# other hosts' sockets stay apart.
play()
{
    local duration=$1 name=$2
    shift 2
    say "" "Playing $camera, $([ "$duration" = 0 ] && echo "until Ctrl+C" || echo "for $duration seconds")"
    TAVO_INI_DIR=$work TMPDIR=$sockets TAVO_RESULT_TIMES=$output/$name.times \
        "$build_dir/devkit/host/tavo_host" \
        --plugin "$(find "$build_dir/vms" -name tavo_orlix_manager_plugin.so)" \
        --work-dir "$work" --video "$camera" --cameras "$cameras" --seconds "$duration" \
        --records "$work/records.json" --database "$work/records.db" --realtime --show-dialog \
        --page "$page" --metadata "$output/$name.jsonl" "$@" 2>&1 | tee -i "$output/$name.log"
}

show_results()
{
    say "" \
        "Fetched in the first run:   $(requests_like "$first_requests")" \
        "Fetched in the second run:  $(requests_like "${all_requests#"$first_requests"}")" \
        "" \
        "Video with what was found:  $output/annotated.mp4" \
        "Stills of it:               $output/contact_sheet.png" \
        "All metadata, a line each:  $output/first_run.jsonl" \
        "Logs:                       $output/*.log, and below $work/tavo_orlix_manager"
}

# requests_like TEXT: what of it was a download.
requests_like()
{
    printf '%s\n' "$1" | grep -E '/(apps|runtimes|models)/' | sort | uniq -c | tr -s '\n ' '; ' \
        | grep . || printf 'nothing\n'
}

clean_up()
{
    [ -z "$services" ] || kill "$services" 2>/dev/null || true
    rm -rf "$sockets"
}

parse_options "$@"
set_up
build
mkdir -p "$output"
output=$(cd "$output" && pwd)
work=$output/work
rm -rf "$work"
mkdir "$work"
sockets=$(mktemp -d /tmp/tavo_demo.XXXXXX) # short, as the names of sockets must be
trap clean_up EXIT
start_services
play "$seconds" first_run --annotated "$output/annotated.mp4" \
    --contact-sheet "$output/contact_sheet.png" --press "*:$kChoice@$kChoiceSecond"
first_requests=$(requests)
page=$(sed -n 's#^page: http://.*:\([0-9]*\)/$#\1#p' "$output/first_run.log") # the same address again
say "" "And once more, with everything in its place:"
if [ "$stay" = yes ]; then
    trap : INT
    play 0 second_run
else
    play "$kSecondRunSeconds" second_run
fi
all_requests=$(requests)
show_results
