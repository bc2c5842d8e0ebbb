#!/usr/bin/env bash
# Everything that tools have to say of the sources. Each check says its name and how it went; any
# finding makes the run fail.
#
# usage: lint.sh [quick|all]
#   quick   clang-format, shellcheck, the include rules, the page's scripts, and clang's analysis of
#           locks and its warnings over the library's own sources: a minute or two
#   all     the same, and clang-tidy with clang's analysis over every source (the default)
# TAVO_JOBS: how many checkers run at a time; all processors otherwise.
# shellcheck disable=SC2317 # functions are called by name, through check
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"

mode=${1:-all}
jobs=${TAVO_JOBS:-$(nproc)}
failed=0

# check NAME COMMAND...
check()
{
    local name=$1
    shift
    if "$@"; then
        say "$name: clean"
    else
        say "$name: FAILED"
        failed=1
    fi
}

# tracked PATTERN...: the repo's files of those patterns, each followed by a NUL.
tracked()
{
    git ls-files -z -- "$@"
}

format()
{
    tracked '*.h' '*.cpp' '*.c' | xargs -0 clang-format --dry-run -Werror
}

shell_scripts()
{
    tracked '*.sh' .ci/run | xargs -0 shellcheck -x
}

# The commands that clang needs for each source.
configure()
{
    cmake --preset lint >build/lint.log 2>&1 || {
        cat build/lint.log >&2
        die "the sources could not be configured for clang"
    }
}

# tidy PATH_PATTERN [OPTION...]: clang-tidy over the sources that are compiled here.
tidy()
{
    local pattern=$1 report=build/lint/findings.txt status=0
    shift
    tracked '*.cpp' | grep -zE "$pattern" \
        | while IFS= read -r -d '' source; do
            ! grep -qF "\"$PWD/$source\"" build/lint/compile_commands.json \
                || printf '%s\0' "$source"
        done \
        | xargs -0 -P "$jobs" -n 2 clang-tidy -p build/lint --quiet "$@" \
        >"$report" 2>&1 \
        || status=$?
    [ "$status" = 0 ] || grep -v ' warnings\? \(generated\|treated\)' "$report" >&2
    return "$status"
}

case $mode in
    quick | all) ;;
    *) die "usage: $0 [quick|all]" ;;
esac
"$here/setup.sh" lint
cd "$(repo_dir)"
mkdir -p build

check "clang-format" format
check "shellcheck" shell_scripts
check "include rules" scripts/check_includes.sh
check "scripts of the page" scripts/check_scripts.sh
configure
if [ "$mode" = quick ]; then
    check "locks and warnings of clang" tidy '^(vms|open)/.*/src/|/utils/[^/]*$|/utils/posix/' \
        --checks='-*,clang-diagnostic-*,android-cloexec-*' --warnings-as-errors='*'
else
    check "clang-tidy, locks and warnings of clang" tidy .
fi
exit "$failed"
