# shellcheck shell=bash
# What a run of ctest came to, read from its JUnit report. Needs common.sh.

# count ATTRIBUTE REPORT: a number of the report's head.
count()
{
    sed -n "s/^.*[[:space:]]$1=\"\([0-9]*\)\".*$/\1/p" "$2" | head -n 1
}

# test_counts REPORT...: "N passed, N failed, N skipped" over all of them together.
test_counts()
{
    local report tests=0 failed=0 skipped=0
    for report in "$@"; do
        tests=$((tests + $(count tests "$report")))
        failed=$((failed + $(count failures "$report")))
        skipped=$((skipped + $(count skipped "$report") + $(count disabled "$report")))
    done
    say "$((tests - failed - skipped)) passed, $failed failed, $skipped skipped"
}
