#!/usr/bin/env bash
# Sets up, builds and tests, from a fresh clone on. Fails where anything of it fails, and closes with
# the number of tests as a line of its own.
#
# usage: test.sh [debug|release|asan|tsan|windows|aarch64] [--no-browser]
#   asan     with the address, undefined behaviour and leak sanitizers
#   tsan     with the thread sanitizer
#   windows  the Windows build, under Wine
#   aarch64  the build for Linux on 64-bit ARM, under qemu
#   --no-browser   without the tests that work the stand-in host's page in a browser: some minutes,
#                  and Chromium, less
# TAVO_JOBS: how many compilers and tests run at a time; all processors otherwise.
# Ends with 77 where this machine cannot run them.
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/wine.sh
. "$here/lib/wine.sh"
# shellcheck source=scripts/lib/qemu.sh
. "$here/lib/qemu.sh"
# shellcheck source=scripts/lib/coverage.sh
. "$here/lib/coverage.sh"
# shellcheck source=scripts/lib/test_report.sh
. "$here/lib/test_report.sh"

# Of all tests together; a test that hangs ends after its own limit.
readonly kEmulatedLimit=30m

preset=debug
browser=yes
jobs=${TAVO_JOBS:-$(nproc)}
runner=()

set_sanitizer_options()
{
    export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    export TSAN_OPTIONS=history_size=7:second_deadlock_stack=1:suppressions=$PWD/scripts/lib/tsan.supp
    # The thread sanitizer wants its own place in memory, which a kernel with much randomness in its
    # addresses has taken.
    if [ "$preset" = tsan ]; then
        find_fixed_addresses
        runner=("${fixed_addresses[@]}")
    fi
}

for argument in "$@"; do
    case $argument in
        debug | release | asan | tsan | windows | aarch64) preset=$argument ;;
        --no-browser) browser=no ;;
        *) die "usage: $0 [debug|release|asan|tsan|windows|aarch64] [--no-browser]" ;;
    esac
done
setup='test'
selection=()
if [ "$preset" = windows ] || [ "$preset" = aarch64 ]; then
    setup=$preset
elif [ "$browser" = no ]; then
    setup=build
    selection=(--exclude-regex '^browser\.(page|four_cameras)$')
fi
"$here/setup.sh" "$setup"
cd "$(repo_dir)"
[ "$preset" != aarch64 ] || [ -x "$(qemu_file)" ] || cannot "the tests of 'aarch64' are left out: there is no qemu"
set_sanitizer_options

cmake --preset "$preset"
# The tests are listed by running them, so what they need holds for the build as well.
"${runner[@]}" cmake --build --preset "$preset" -j "$jobs"

report=$PWD/build/$preset/tests.xml
rm -f "$report"
case $preset in
    windows)
        make_wine_prefix "$PWD/build/windows/wine"
        trap end_wine EXIT
        runner=(timeout --kill-after=30 "$kEmulatedLimit")
        ;;
    aarch64)
        runner=(timeout --kill-after=30 "$kEmulatedLimit")
        leave_out_what_starts_programs aarch64
        ;;
esac
status=0
"${runner[@]}" ctest --preset "$preset" -j "$jobs" "${selection[@]}" --no-tests=error --output-junit "$report" \
    || status=$?
if [ "$status" != 0 ] && [ -n "${TAVO_LEFT_OUT:-}" ]; then
    rm -f "$report"
    cannot "the tests of '$preset' do not count: what fails may want a program for ARM that cannot start here"
fi
unset TAVO_LEFT_OUT
case $preset in
    windows) print_coverage windows cmake/wine/skips.cmake ;;
    aarch64) print_coverage aarch64 cmake/qemu/skips.cmake ;;
esac
[ "$status" != 124 ] || say "error: the tests of '$preset' were ended after $kEmulatedLimit"
[ ! -f "$report" ] || test_counts "$report"
exit "$status"
