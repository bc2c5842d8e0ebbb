# shellcheck shell=bash
# How much of the Linux suite another target runs under its emulator. Needs common.sh.

# print_coverage PRESET SKIPS: each name that does not run there with its reason, and how many do, which
# are to be nine in ten. What the file SKIPS says is to be true; where the Linux tests are built as well,
# each of them is to be one or the other.
print_coverage()
{
    local own all here skipped run_here not_here
    sed -n 's/^ *"\(.*\)|\(.*\)"$/not run: \1: \2/p' "$2"
    own=$(sed -n 's/^# Of [^:]* alone: //p' "$2" | sort)
    skipped=$(sed -n 's/^ *"\([^|]*\)|.*"$/\1/p' "$2" | sort)
    all=$(test_names "$1")
    here=$(comm -23 <(printf '%s\n' "$all") <(printf '%s\n' "$own"))
    check_names "named in $2 and yet run" \
        "$(comm -12 <(printf '%s\n' "$here") <(printf '%s\n' "$skipped"))"
    check_names "of this target alone in $2 and yet not run" \
        "$(comm -13 <(printf '%s\n' "$all") <(printf '%s\n' "$own"))"
    if [ -f build/debug/CTestTestfile.cmake ]; then
        check_against_linux "$here" "$skipped" "$2"
    fi
    run_here=$(grep -c . <<<"$here")
    not_here=$(grep -c . <<<"$skipped")
    say "$run_here of $((run_here + not_here)) tests of the Linux suite run here; $not_here skipped by name"
    [ $((run_here * 10)) -ge $(((run_here + not_here) * 9)) ] \
        || die "less than nine tests in ten of the Linux suite run here"
}

# test_names PRESET: what runs, one a line.
test_names() { ctest --preset "$1" -N | sed -n 's/^ *Test *#[0-9]*: \([^ ]*\)$/\1/p' | sort; }

# check_names WHAT NAMES: that there are none.
check_names() { [ -z "$2" ] || die "$1: ${2//$'\n'/ }"; }

check_against_linux()
{
    local linux
    linux=$(test_names debug)
    if grep -q '_NOT_BUILT$' <<<"$linux"; then
        return
    fi
    check_names "neither run here nor named in $3" \
        "$(comm -23 <(printf '%s\n' "$linux") <(printf '%s\n' "$1" "$2" | sort))"
    check_names "run here or named in $3, and of no test of the Linux suite" \
        "$(comm -13 <(printf '%s\n' "$linux") <(printf '%s\n' "$1" "$2" | sort))"
}
