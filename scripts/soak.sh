#!/usr/bin/env bash
# Runs the library for a while in the stand-in host, with eight cameras, the real application and the
# stand-in services, and lets happen to them what happens to servers: processes are killed and
# stopped, services fail and come back, disks fill up, users change settings and press buttons.
# Results are to flow again soon after each, and nothing may leak or be left behind. A line is
# printed for each thing that happens, and figures at the end. Fails with the first finding, and
# keeps the logs.
#
# usage: soak.sh MINUTES SEED [--preset NAME] [--build FOLDER]
#        soak.sh --kills ROUNDS SEED [--preset NAME] [--build FOLDER]
#   SEED       the same seed lets the same things happen in the same order
#   --kills    only kills the host, again and again, at random moments: two seconds later no process
#              and no decrypted model may be left
#   --preset   what is built and run: release (the default), asan, debug, tsan
#   --build    takes this build as it is
#
# As root the small disks and the shared memory are file systems of this run alone; otherwise disks
# do not fill up, and left shared memory is not looked for.
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/apt.sh
. "$here/lib/apt.sh"

readonly kTargets=(tavo_orlix_manager_plugin tavo_host tavo_services runtime_packages
    orlix_manager_archive)

repo=$(repo_dir)
program=soak.py
preset=release
build=
values=()

parse_options()
{
    while [ $# -gt 0 ]; do
        case $1 in
            --help | -h)
                sed -n '2,/^set /{/^set /d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]}"
                exit 0
                ;;
            --kills)
                program=kill_host.py
                shift
                ;;
            --preset | --build)
                [ $# -ge 2 ] || die "$1 needs a value; see $0 --help"
                printf -v "${1#--}" '%s' "$2"
                shift 2
                ;;
            -*) die "unknown option $1; see $0 --help" ;;
            *)
                values+=("$1")
                shift
                ;;
        esac
    done
    [ ${#values[@]} -eq 2 ] || die "two values are needed; see $0 --help"
}

build_all()
{
    "$here/setup.sh" build
    command -v python3 >/dev/null || install_packages python3
    (
        cd "$repo"
        cmake --preset "$preset" >/dev/null
        cmake --build --preset "$preset" -j "${TAVO_JOBS:-$(nproc)}" --target "${kTargets[@]}"
    )
}

may_mount()
{
    unshare --mount sh -c 'mount -t tmpfs tmpfs /dev/shm' 2>/dev/null
}

parse_options "$@"
if [ -z "$build" ]; then
    build=$repo/build/$preset
    build_all
fi
command=(python3 -B "$repo/devkit/soak/$program" "${values[@]}" --build "$build")
if may_mount; then
    exec unshare --mount env TAVO_SOAK_OWN_MOUNTS=1 "${command[@]}"
fi
warn "no file systems can be mounted here: disks do not fill up, left shared memory is not looked for"
exec "${command[@]}"
