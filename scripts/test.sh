#!/usr/bin/env bash
# Sets up, builds and tests, from a fresh clone on. Fails where anything of it fails, and closes with
# the number of tests as a line of its own.
#
# usage: test.sh [debug|release|asan|tsan|windows] [--no-browser]
#   asan     with the address, undefined behaviour and leak sanitizers
#   tsan     with the thread sanitizer
#   windows  the Windows build, under Wine
#   --no-browser   without the tests that work the stand-in host's page in a browser: some minutes,
#                  and Chromium, less
# TAVO_JOBS: how many compilers and tests run at a time; all processors otherwise.
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/windows.sh
. "$here/lib/windows.sh"
# shellcheck source=scripts/lib/wine.sh
. "$here/lib/wine.sh"

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
    if [ "$preset" = tsan ] && setarch "$(uname -m)" -R true 2>/dev/null; then
        runner=(setarch "$(uname -m)" -R)
    fi
}

# count ATTRIBUTE REPORT: a number of the JUnit report's head.
count()
{
    sed -n "s/^.*[[:space:]]$1=\"\([0-9]*\)\".*$/\1/p" "$2" | head -n 1
}

print_counts()
{
    local tests failed skipped
    tests=$(count tests "$1")
    failed=$(count failures "$1")
    skipped=$(($(count skipped "$1") + $(count disabled "$1")))
    say "$((tests - failed - skipped)) passed, $failed failed, $skipped skipped"
}

# The tests that do not run under Wine, each with the reason.
print_wine_skips()
{
    sed -n 's/^ *"\(.*\)|\(.*\)"$/not under Wine: \1: \2/p' cmake/wine/skips.cmake
}

for argument in "$@"; do
    case $argument in
        debug | release | asan | tsan | windows) preset=$argument ;;
        --no-browser) browser=no ;;
        *) die "usage: $0 [debug|release|asan|tsan|windows] [--no-browser]" ;;
    esac
done
setup='test'
selection=()
if [ "$preset" = windows ]; then
    setup=windows
elif [ "$browser" = no ]; then
    setup=build
    selection=(--exclude-regex '^browser\.(page|four_cameras)$')
fi
"$here/setup.sh" "$setup"
cd "$(repo_dir)"
set_sanitizer_options

cmake --preset "$preset"
# The tests are listed by running them, so what they need holds for the build as well.
"${runner[@]}" cmake --build --preset "$preset" -j "$jobs"

if [ "$preset" = windows ]; then
    make_wine_prefix "$PWD/build/windows/wine"
    trap end_wine EXIT
    print_wine_skips
fi
report=$PWD/build/$preset/tests.xml
rm -f "$report"
status=0
"${runner[@]}" ctest --preset "$preset" -j "$jobs" "${selection[@]}" --no-tests=error --output-junit "$report" \
    || status=$?
[ ! -f "$report" ] || print_counts "$report"
exit "$status"
