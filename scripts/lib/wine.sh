# shellcheck shell=bash
# Wine, for the tests of the Windows build. Needs common.sh; making a prefix needs windows.sh too.

readonly kWine=/usr/lib/wine/wine64
readonly kWineServer=/usr/lib/wine/wineserver64

set_wine_options()
{
    : "${WINEPREFIX:?is to name the Wine prefix to run in}"
    export WINEDEBUG=-all LC_ALL=C.UTF-8
    # Neither a screen nor what programs for .NET and of web pages would have installed.
    export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
    unset DISPLAY
}

# make_wine_prefix FOLDER: a new prefix, with its server running until end_wine. Sets WINEPREFIX.
make_wine_prefix()
{
    rm -rf "$1"
    mkdir -p "$1"
    export WINEPREFIX=$1
    set_wine_options
    "$kWineServer" -p
    "$kWine" wineboot --init >/dev/null 2>&1 || die "Wine could not make the prefix $1"
    cp "$(windows_prefix)/bin/bsdtar.exe" "$1/drive_c/windows/system32/tar.exe"
}

# Ends all that runs in the prefix, and nothing else.
end_wine() { "$kWineServer" -k || true; }
