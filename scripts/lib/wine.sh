# shellcheck shell=bash
# Wine, for the tests of the Windows build. Needs common.sh; making a prefix needs windows.sh too.
# Everything is waited for with a limit: Wine may hang where Windows does not.

readonly kWineServer=/usr/lib/wine/wineserver64

# Sets wine to the command that runs a Windows program. Wine wants one address for itself (0x7ffe0000)
# and ends without a word where the heap has it already, which with random addresses befalls one start
# in some 7500.
find_wine()
{
    find_fixed_addresses
    wine=("${fixed_addresses[@]}" /usr/lib/wine/wine64)
}

set_wine_options()
{
    : "${WINEPREFIX:?is to name the Wine prefix to run in}"
    find_wine
    export WINEDEBUG=-all LC_ALL=C.UTF-8
    # Neither a screen nor what programs for .NET and of web pages would have installed; nor a debugger,
    # after whose look a program that has crashed may end as one that succeeded.
    export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe,winemenubuilder.exe=d"
    unset DISPLAY
}

# make_wine_prefix FOLDER: a new prefix, with its server running until end_wine. Sets WINEPREFIX.
make_wine_prefix()
{
    rm -rf "$1"
    mkdir -p "$1"
    export WINEPREFIX=$1
    set_wine_options
    [ ${#fixed_addresses[@]} -gt 0 ] \
        || warn "addresses cannot be fixed here: about one start of Wine in 7500 fails without a word"
    "$kWineServer" -p
    timeout --kill-after=10 300 "${wine[@]}" wineboot --init >/dev/null 2>&1 \
        || die "Wine could not make the prefix $1 within 5 minutes"
    cp "$(windows_prefix)/bin/bsdtar.exe" "$1/drive_c/windows/system32/tar.exe"
}

# Ends all that runs in the prefix, and nothing else.
end_wine() { timeout --kill-after=10 60 "$kWineServer" -k || true; }

# Tests of the Linux suite that do not run under Wine, one name a line.
skipped_names() { sed -n 's/^ *"\([^|]*\)|.*"$/\1/p' cmake/wine/skips.cmake; }

# wine_tests: what the Windows build runs, one name a line.
wine_tests() { ctest --preset windows -N | sed -n 's/^ *Test *#[0-9]*: \([^ ]*\)$/\1/p' | sort; }

# Each name that does not run here with its reason, and how many do, which are to be nine in ten. What
# the file says is to be true; where the Linux tests are built as well, each of them is to be one or the
# other.
print_wine_coverage()
{
    local own all here skipped run_here not_here
    sed -n 's/^ *"\(.*\)|\(.*\)"$/not under Wine: \1: \2/p' cmake/wine/skips.cmake
    own=$(sed -n 's/^# Of Windows alone: //p' cmake/wine/skips.cmake | sort)
    skipped=$(skipped_names | sort)
    all=$(wine_tests)
    here=$(comm -23 <(printf '%s\n' "$all") <(printf '%s\n' "$own"))
    check_names "named in cmake/wine/skips.cmake and yet run under Wine" \
        "$(comm -12 <(printf '%s\n' "$here") <(printf '%s\n' "$skipped"))"
    check_names "of Windows alone in cmake/wine/skips.cmake and yet not run" \
        "$(comm -13 <(printf '%s\n' "$all") <(printf '%s\n' "$own"))"
    if [ -f build/debug/CTestTestfile.cmake ]; then
        check_wine_coverage "$here" "$skipped"
    fi
    run_here=$(grep -c . <<<"$here")
    not_here=$(grep -c . <<<"$skipped")
    say "$run_here of $((run_here + not_here)) tests of the Linux suite run here; $not_here skipped by name"
    [ $((run_here * 10)) -ge $(((run_here + not_here) * 9)) ] \
        || die "less than nine tests in ten of the Linux suite run under Wine"
}

# check_names WHAT NAMES: that there are none.
check_names() { [ -z "$2" ] || die "$1: ${2//$'\n'/ }"; }

check_wine_coverage()
{
    local linux
    linux=$(ctest --preset debug -N | sed -n 's/^ *Test *#[0-9]*: \([^ ]*\)$/\1/p' | sort)
    if grep -q '_NOT_BUILT$' <<<"$linux"; then
        return
    fi
    check_names "neither run under Wine nor named in cmake/wine/skips.cmake" \
        "$(comm -23 <(printf '%s\n' "$linux") <(printf '%s\n' "$1" "$2" | sort))"
    check_names "run under Wine or named in cmake/wine/skips.cmake, and of no test of the Linux suite" \
        "$(comm -13 <(printf '%s\n' "$linux") <(printf '%s\n' "$1" "$2" | sort))"
}
