#!/usr/bin/env bash
# What goes to a user, looked at as it is installed and packed: one file, four names that leave it,
# on Windows nothing asked for but the system's own libraries, and no folder of the machine that built
# it. Each breach is one line, and any makes the check fail.
#
# usage: check_package.sh BUILD_FOLDER
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

# What is made here is thrown away: of old libraries, too.
export TAVO_TRIAL_PACKAGE=yes

readonly kMingw=x86_64-w64-mingw32
readonly kExports="createTavoPlugin tavoLibContext tavoSdkVersion tavoSetUnitTestOptions"
# What every Windows has, in small letters.
readonly kSystemLibraries=" advapi32 authz bcrypt crypt32 kernel32 msvcrt netapi32 ole32 shell32 user32
    userenv version winmm ws2_32 "

exports()
{
    case $1 in
        *.dll) "$kMingw-objdump" -p "$1" | sed -n 's/^[[:space:]]*\[ *[0-9]*\] \([[:alpha:]_]*\)$/\1/p' ;;
        *) nm -D --defined-only "$1" | sed 's/^.* //; s/@.*$//' ;;
    esac | sort -u
}

check_imports()
{
    local name
    while read -r name; do
        case $kSystemLibraries in
            *[[:space:]]"$name"[[:space:]]*) ;;
            *) breach "it asks for $name, which Windows does not bring" ;;
        esac
    done < <("$kMingw-objdump" -p "$1" | sed -n 's/^.*DLL Name: \(.*\)$/\L\1/p' \
        | grep -v '^api-ms-win-' | sed 's/\.dll$//')
}

cmake --install "$build" --component plugin --strip --prefix "$scratch/installed" >/dev/null
mapfile -t files < <(cd "$scratch/installed" && find . -type f)
[ ${#files[@]} -eq 1 ] || die "it installs ${#files[@]} files: ${files[*]}"
library=$scratch/installed/${files[0]}

found=$(exports "$library" | tr '\n' ' ')
[ "$found" = "$kExports " ] || breach "what leaves it is $found"
case $library in
    *.dll) check_imports "$library" ;;
esac
for folder in "$(repo_dir)" "$(cache_dir)" "$(realpath "$build")" "${HOME:?}/"; do
    if grep -qaF "$folder" "$library"; then
        breach "it names a folder of this machine: $folder"
    fi
done

cpack --config "$build/CPackConfig.cmake" -B "$scratch/packed" >/dev/null
packed=$(cmake -E tar tf "$scratch"/packed/tavo_orlix_manager_plugin-*)
[ "$packed" = "${files[0]#./}" ] || breach "the archive holds $packed"

[ "$failed" = 0 ] && say "one file, four exports, no folder of this machine: ${files[0]#./}"
exit "$failed"
