# shellcheck shell=bash
# Source packages of Debian, fetched through apt and checked by it. Every apt file that this writes
# is below the caller's folder, so it needs no root and leaves the machine's sources alone.
# Needs common.sh, apt.sh.

# suite_parts CODENAME: "URI SUITE" lines of those of the machine's own sources that belong to the
# release, its updates and its security fixes; the release alone where the machine has none of it.
suite_parts()
{
    # shellcheck disable=SC2016 # the words are for apt-get to expand
    apt-get indextargets --format '$(REPO_URI) $(RELEASE)' 'Created-By: Packages' 'Origin: Debian' \
        | grep -E " $1(-updates|-security)?\$" | sort -u | grep . \
        || printf '%s %s\n' "$(debian_uri)" "$1"
}

# apt_in FOLDER APT-COMMAND ARGUMENTS...: apt with all of its state in FOLDER/apt.
apt_in()
{
    local state=$1/apt command=$2
    shift 2
    "$command" -qq -o APT::Sandbox::User="$(id -un)" -o Dir::Etc::sourcelist=/dev/null \
        -o Dir::Etc::sourceparts="$state/parts" -o Dir::State::lists="$state/lists" \
        -o Dir::Cache="$state" "$@"
}

# fetch_debian_source FOLDER CODENAME SOURCE[=VERSION]: the tarball of the source in FOLDER, and
# Debian's changes to it where the mirror has them.
fetch_debian_source()
{
    local folder=$1 codename=$2 source=$3 uri suite
    mkdir -p "$folder/apt/parts" "$folder/apt/lists/partial" "$folder/apt/archives/partial"
    while read -r uri suite; do
        apt_source deb-src "$uri" "$suite" >"$folder/apt/parts/$suite.sources"
    done < <(suite_parts "$codename")
    apt_in "$folder" apt-get update || die "the list of Debian's sources could not be fetched"
    # Part by part: a .dsc, which nothing here needs, may be missing.
    (cd "$folder" && apt_in "$folder" apt-get source --download-only --tar-only "$source") \
        || die "Debian's source $source could not be fetched"
    (cd "$folder" && apt_in "$folder" apt-get source --download-only --diff-only "$source" 2>/dev/null) \
        || say "Debian's changes to $source are not to be had; its tarball is taken as it is"
}

# unpack_debian_source FOLDER NAME: FOLDER/NAME with Debian's changes applied.
unpack_debian_source()
{
    local folder=$1 source=$1/$2 patch
    mkdir -p "$source"
    tar -xf "$(printf '%s\n' "$folder/$2"_*.orig.tar.*)" -C "$source" --strip-components=1 \
        || die "the source of $2 could not be unpacked"
    if compgen -G "$folder/$2_*.debian.tar.*" >/dev/null; then
        tar -xf "$(printf '%s\n' "$folder/$2"_*.debian.tar.*)" -C "$source"
        while read -r patch; do
            patch -d "$source" -p1 --silent --forward <"$source/debian/patches/$patch" \
                || die "Debian's change $patch to $2 does not apply"
        done < <(sed -e 's/[[:space:]]*#.*$//' -e '/^[[:space:]]*$/d' -e 's/[[:space:]].*$//' \
            "$source/debian/patches/series" 2>/dev/null)
    fi
}
