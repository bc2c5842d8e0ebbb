#!/usr/bin/env bash
# Shows the library at work: sets up, builds, and lets the stand-in host play a video of pedestrians
# to it for a minute, with the reference application finding the people. Leaves a video with what was
# found drawn into it, and a sheet of stills.
#
# usage: demo.sh [--camera FILE|URL] [--cameras N] [--seconds N] [--output FOLDER]
#   --camera   play this instead: a file, or the address of a camera's stream
#   --cameras  how many cameras show it at once (1)
#   --seconds  how long (60)
#   --output   where the results go (build/demo)
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/assets.sh
. "$here/lib/assets.sh"
# shellcheck source=scripts/lib/demo_records.sh
. "$here/lib/demo_records.sh"

readonly kTargets=(tavo_orlix_manager_plugin tavo_host brunmod brund runtime_CPU)

camera=
cameras=1
seconds=60
build_dir=$(repo_dir)/build/release
output=$(repo_dir)/build/demo

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
            --camera | --cameras | --seconds | --output)
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
    if [ -n "$camera" ]; then
        "$here/setup.sh" model
    else
        "$here/setup.sh" demo
        camera=$(video_path)
    fi
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

# install_application FOLDER: application, runtime and model, laid below the library's folder as it
# would install them itself, so that nothing is asked of a cloud or storage.
install_application()
{
    local root=$1/orlix_manager
    cmake --install "$build_dir" --component orlix_manager --prefix "$1" >/dev/null
    cp "$(find "$build_dir/devkit/services/CPU" -name '*RuntimeLibrary.so')" "$root/bin/"
    printf 'Generic CPU' >"$root/bin/installed_runtime.txt"
    if [ -f "$(model_path)" ]; then
        mkdir -p "$root/cache/unencrypted"
        cp "$(model_path)" "$root/cache/unencrypted/"
    fi
}

# play WORK: runs the host, which shows a line a second.
play()
{
    local work=$1 plugin options
    plugin=$(find "$build_dir/vms" -name tavo_orlix_manager_plugin.so)
    options=(--plugin "$plugin" --work-dir "$work" --video "$camera" --cameras "$cameras"
        --seconds "$seconds" --realtime --metadata "$output/metadata.jsonl"
        --annotated "$output/annotated.mp4" --contact-sheet "$output/contact_sheet.png")
    if [ -f "$(model_path)" ]; then
        demo_records "$cameras" "$(model_path)" >"$work/records.json"
        options+=(--records "$work/records.json")
    fi
    say "Playing $camera for $seconds seconds"
    # What the user keeps for the library stays out of this, and other hosts' sockets stay apart.
    TAVO_INI_DIR=$work TMPDIR=$sockets "$(find "$build_dir/devkit/host" -type f -name tavo_host)" "${options[@]}" \
        2>&1 | tee "$output/host.log"
}

show_results()
{
    say ""
    say "Video with what was found:  $output/annotated.mp4"
    say "Stills of it:               $output/contact_sheet.png"
    say "All metadata, a line each:  $output/metadata.jsonl"
    say "Logs:                       $output/host.log, and below $output/demo_work"
}

parse_options "$@"
set_up
build
mkdir -p "$output"
output=$(cd "$output" && pwd)
rm -rf "$output/demo_work"
mkdir "$output/demo_work"
sockets=$(mktemp -d /tmp/tavo_demo.XXXXXX) # short, as the names of sockets must be
trap 'rm -rf "$sockets"' EXIT
install_application "$output/demo_work/tavo_orlix_manager"
play "$output/demo_work"
show_results
