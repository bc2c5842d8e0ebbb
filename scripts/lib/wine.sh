# shellcheck shell=bash
# Wine, for the tests of the Windows build. Needs common.sh.
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
    cp "$(sed -n 's/^TAVO_bsdtar_PREFIX:.*=//p' build/windows/CMakeCache.txt)/bin/bsdtar.exe" \
        "$1/drive_c/windows/system32/tar.exe"
}

# Ends all that runs in the prefix, and nothing else.
end_wine() { timeout --kill-after=10 60 "$kWineServer" -k || true; }
