#!/usr/bin/env bash
# What goes to a user, looked at as it is installed and packed: a library and a program, four names that leave
# the library, nothing asked for but the system's own libraries, on Linux in a version that every supported system has,
# and no folder of the machine that built it. Each breach is one line, and any makes the check fail.
#
# usage: check_package.sh BUILD_FOLDER
#        check_package.sh FILE   looks at that library alone
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"

build=${1:?names the build folder}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0

breach()
{
    printf '%s\n' "$*" >&2
    failed=1
}

readonly kMingw=x86_64-w64-mingw32
readonly kExports="createTavoPlugin tavoLibContext tavoSdkVersion tavoSetUnitTestOptions"
# What every Windows has, in small letters.
readonly kWindowsLibraries=" advapi32 authz bcrypt crypt32 kernel32 msvcrt netapi32 ole32 shell32 user32
    userenv version winmm ws2_32 "
readonly kGlibcLibraries=" libc.so.6 libm.so.6 ld-linux-x86-64.so.2 ld-linux-aarch64.so.1 "
# Ubuntu's of 22.04, the oldest system that is served.
readonly kGlibcVersion=2.35
# The loader sets aside some 1600 bytes for all libraries that are loaded later.
readonly kMostThreadLocalBytes=256

exports()
{
    case $1 in
        *.dll) "$kMingw-objdump" -p "$1" | sed -n 's/^[[:space:]]*\[ *[0-9]*\] \([[:alpha:]_]*\)$/\1/p' ;;
        *) nm -D --defined-only "$1" | sed 's/^.* //; s/@.*$//' ;;
    esac | sort -u
}

check_windows_imports()
{
    local name
    while read -r name; do
        case $kWindowsLibraries in
            *[[:space:]]"$name"[[:space:]]*) ;;
            *) breach "${1##*/} asks for $name, which Windows does not bring" ;;
        esac
    done < <("$kMingw-objdump" -p "$1" | sed -n 's/^.*DLL Name: \(.*\)$/\L\1/p' \
        | grep -v '^api-ms-win-' | sed 's/\.dll$//')
}

# check_linux_imports WHAT FILE
check_linux_imports()
{
    local name dynamic versions
    dynamic=$(readelf --dynamic --wide "$2")
    versions=$(readelf --version-info --wide "$2" | sed -n 's/^.* Name: \([^ ]*\) .*$/\1/p' | sort -uV)
    while read -r name; do
        case $kGlibcLibraries in
            *" $name "*) ;;
            *) breach "$1 asks for $name, which not every system has" ;;
        esac
    done < <(sed -n 's/^.*(NEEDED).*\[\(.*\)\]$/\1/p' <<<"$dynamic")
    while read -r name; do
        if [[ $name != GLIBC_* ]] || [ "$(printf '%s\n' "${name#GLIBC_}" "$kGlibcVersion" | sort -V | tail -n 1)" \
            != "$kGlibcVersion" ]; then
            breach "$1 asks for symbols of $name, which glibc $kGlibcVersion does not have:" \
                "$(nm -D --undefined-only "$2" | sed -n "s/^ *U \(.*\)@$name\$/\1/p" | tr '\n' ' ')"
        fi
    done <<<"$versions"
    for name in TEXTREL RPATH RUNPATH; do
        ! grep -q "($name)" <<<"$dynamic" || breach "$1 has $name"
    done
    newest=$(tail -n 1 <<<"$versions")
}

# The program inside is an ELF file like the one around it.
check_keeper()
{
    local places
    mapfile -t places < <(grep -obUaP '\x7fELF\x02\x01\x01' "$1" | cut -d: -f1 | tail -n +2)
    if [ ${#places[@]} -ne 1 ]; then
        breach "it has ${#places[@]} programs inside"
        return
    fi
    tail -c "+$((places[0] + 1))" "$1" >"$scratch/keeper"
    check_linux_imports "its keeper" "$scratch/keeper"
}

check_thread_local_bytes()
{
    local bytes
    bytes=$(($(readelf --segments --wide "$1" | awk '$1 == "TLS" { print $6 }')))
    [ "$bytes" -le "$kMostThreadLocalBytes" ] \
        || breach "it takes $bytes bytes of each thread, and $kMostThreadLocalBytes are to be enough"
    thread_local_bytes=$bytes
}

# check_file FILE: sets about to what there is to be said of it.
check_file()
{
    local folder
    for folder in "$(repo_dir)" "$(cache_dir)" "$(realpath "$build")" "${HOME:?}/"; do
        ! grep -qaF "$folder" "$1" || breach "${1##*/} names a folder of this machine: $folder"
    done
    about="$(($(stat -c %s "$1") / 1024)) KiB"
    case $1 in
        *.dll | *.exe) check_windows_imports "$1" ;;
        *)
            check_linux_imports "${1##*/}" "$1"
            about="$about, symbols up to $newest"
            ;;
    esac
}

# check_library FILE: as check_file.
check_library()
{
    local found
    found=$(exports "$1" | tr '\n' ' ')
    [ "$found" = "$kExports " ] || breach "what leaves it is $found"
    check_file "$1"
    if [[ $1 == *.so ]]; then
        check_keeper "$1"
        check_thread_local_bytes "$1"
        about="$about, $thread_local_bytes bytes of each thread"
    fi
}

if [ -f "$build" ]; then
    check_library "$build"
    exit "$failed"
fi
cmake --install "$build" --component plugin --strip --prefix "$scratch/installed" >/dev/null
mapfile -t files < <(cd "$scratch/installed" && find . -type f | sort)
[[ ${files[*]} =~ ^\./(orlix_doctor(\.exe)?)\ \./(tavo_orlix_manager_plugin\.(so|dll))$ ]] \
    || die "it installs ${#files[@]} files: ${files[*]}"
doctor=${BASH_REMATCH[1]} file=${BASH_REMATCH[3]}
check_file "$scratch/installed/$doctor"
about_doctor=$about
check_library "$scratch/installed/$file"

cpack --config "$build/CPackConfig.cmake" -B "$scratch/packed" >/dev/null
archive=$(compgen -G "$scratch/packed/tavo_orlix_manager_plugin-*[zp]")
packed=$(cmake -E tar tf "$archive" | sort | tr '\n' ' ')
[ "$packed" = "LICENSES.txt $doctor $file ${file%.*}.spdx.json " ] || breach "the archive holds $packed"
(cd "$scratch/packed" && sha256sum --check --status ./*.sha256) || breach "the archive has no sum"

[ "$failed" = 0 ] && say "four exports, no folder of this machine: $file, $about; $doctor, $about_doctor"
exit "$failed"
