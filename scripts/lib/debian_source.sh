#!/usr/bin/env bash
# Gets a source package of Debian through apt, which checks it, and unpacks it with Debian's changes.
# Every apt file that this writes is below STATE, so it needs no root and leaves the machine's sources
# alone. Part by part: a .dsc, which nothing here needs, may be missing.
#
# usage: debian_source.sh STATE FOLDER SUITE NAME [releases | VERSION SHA256]
#   FOLDER/source    the unpacked source; FOLDER/version says which it is
#   releases         the newest tarball, with Debian's changes where the mirror has them. Otherwise never
#                    the one without the other, for the security fixes are in the changes: of the newest
#                    version that the mirror has all of
#   VERSION SHA256   the tarball of that version, with that digest, and no changes
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/common.sh"
# shellcheck source=scripts/lib/apt.sh
. "$here/apt.sh"

readonly lists=$1/apt-$3 folder=$2 suite=$3 name=$4 kind=${5:-} digest=${6:-}

# fetch_part tar|diff VERSION. A mirror that is being filled lacks a part for a moment, so it is asked
# more than once.
fetch_part()
{
    local attempt
    for attempt in 1 2 3; do
        [ "$attempt" = 1 ] || sleep 5
        (cd "$folder" && apt_in "$lists" apt-get source --download-only "--$1-only" "$name=$2") && return
    done
    warn "the mirror does not have Debian's source $name $2 ($1)"
    return 1
}

# fetch VERSION: all of it that is wanted, and what is to be said of it.
fetch()
{
    if [ "$kind" = releases ]; then
        fetch_part tar "$1" || return 1
        fetch_part diff "$1" && said=$1 || said="$1 without Debian's changes"
    elif [ -n "$kind" ]; then
        fetch_part tar "$1" || return 1
        said=$1
    else
        fetch_part diff "$1" && fetch_part tar "$1" || return 1
        said=$1
    fi
}

unpack()
{
    local patch source=$folder/source
    tarball=$(printf '%s\n' "$folder/$name"_*.orig.tar.*)
    [ -z "$digest" ] || file_has_sha256 "$tarball" "$digest" \
        || die "$(basename "$tarball") is not the file that was expected; nothing was built from it"
    rm -rf "$source"
    mkdir "$source"
    tar -xf "$tarball" -C "$source" --strip-components=1 || die "the source of $name could not be unpacked"
    if compgen -G "$folder/$name"_*.debian.tar.* >/dev/null; then
        tar -xf "$(printf '%s\n' "$folder/$name"_*.debian.tar.*)" -C "$source"
        while read -r patch; do
            patch -d "$source" -p1 --silent --forward <"$source/debian/patches/$patch" \
                || die "Debian's change $patch to $name does not apply"
        done < <(sed -e 's/[[:space:]]*#.*$//' -e '/^[[:space:]]*$/d' -e 's/[[:space:]].*$//' \
            "$source/debian/patches/series" 2>/dev/null)
    fi
}

[ -f "$lists/updated" ] || update_lists "$lists" deb-src "$suite"
if [ -n "$digest" ]; then
    versions=("$kind")
else
    mapfile -t versions < <(apt_in "$lists" apt-cache showsrc --only-source "$name" \
        | sed -n 's/^Version: //p' | sort -urV)
fi
for version in "${versions[@]}"; do
    if fetch "$version"; then
        unpack
        say "$said" >"$folder/version"
        exit
    fi
    rm -f "$folder/$name"_*
done
die "the mirror has no version of $name whole (${versions[*]:-none is listed}): try again later or with another mirror"
