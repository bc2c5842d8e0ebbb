#!/usr/bin/env bash
# A source package of Debian, for cmake/libraries.
#
# usage: fetch_source.sh FOLDER CODENAME NAME [VERSION SHA256]
#   FOLDER/source    the unpacked source with Debian's changes, of the newest version that the mirror has
#                    all of; FOLDER/version says which it is
#   VERSION SHA256   the tarball of that version, with that digest, and no changes
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/common.sh"
# shellcheck source=scripts/lib/apt.sh
. "$here/apt.sh"
# shellcheck source=scripts/lib/debian_source.sh
. "$here/debian_source.sh"

if [ $# -eq 5 ]; then
    fetch_debian_tarball "$1" "$2" "$3=$4"
    file_has_sha256 "$(printf '%s\n' "$1/$3"_*.orig.tar.*)" "$5" \
        || die "the source $3 $4 is not the file that was expected; nothing was built from it"
else
    fetch_debian_source "$1" "$2" "$3"
fi
unpack_debian_source "$1" "$3"
rm -rf "${1:?}/source"
mv "$1/$3" "$1/source"
