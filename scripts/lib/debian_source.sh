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

# update_source_lists FOLDER CODENAME [deb]: what sources (or programs) the release has, for apt_in FOLDER.
update_source_lists()
{
    local folder=$1 uri suite type=${3:-deb-src}
    mkdir -p "$folder/apt/parts" "$folder/apt/lists/partial" "$folder/apt/archives/partial"
    while read -r uri suite; do
        apt_source "$type" "$uri" "$suite" >"$folder/apt/parts/$suite.sources"
    done < <(suite_parts "$2")
    apt_in "$folder" apt-get update || die "Debian's lists could not be fetched"
}

# source_versions FOLDER SOURCE: the versions in the lists, the newest first.
source_versions()
{
    apt_in "$1" apt-cache showsrc --only-source "$2" | sed -n 's/^Version: //p' | sort -urV
}

# fetch_part FOLDER tar|diff SOURCE=VERSION: that part of the source, in FOLDER. Part by part: a .dsc,
# which nothing here needs, may be missing. A mirror that is being filled lacks a part for a moment,
# so it is asked more than once.
fetch_part()
{
    local attempt
    for attempt in 1 2 3; do
        [ "$attempt" = 1 ] || sleep 10
        if (cd "$1" && apt_in "$1" apt-get source --download-only "--$2-only" "$3") \
            2>"$1/fetch.log"; then
            return
        fi
    done
    cat "$1/fetch.log" >&2
    return 1
}

# fetch_debian_tarball FOLDER CODENAME SOURCE=VERSION: the tarball of the source in FOLDER, without
# Debian's changes to it. For versions by name of which it is known that none of those is wanted.
fetch_debian_tarball()
{
    printf '%s\n' "${3#*=}" >"$1/version"
    update_source_lists "$1" "$2"
    fetch_part "$1" tar "$3" || die "Debian's source $3 could not be fetched"
}

# fetch_debian_source FOLDER CODENAME SOURCE: the source's tarball and Debian's changes to it in
# FOLDER, which is where its security fixes are: never the one without the other. Of the newest version
# that the mirror has all of, which FOLDER/version names; where that is not the newest there is,
# FOLDER/behind says so.
fetch_debian_source()
{
    local folder=$1 source=$3 version versions
    update_source_lists "$folder" "$2"
    mapfile -t versions < <(source_versions "$folder" "$source")
    for version in "${versions[@]}"; do
        if fetch_part "$folder" diff "$source=$version" \
            && fetch_part "$folder" tar "$source=$version"; then
            printf '%s\n' "$version" >"$folder/version"
            [ "$version" = "${versions[0]}" ] \
                || printf '%s\n' "$source is $version, and ${versions[0]} is out" >"$folder/behind"
            return
        fi
        warn "the mirror does not have all of Debian's source $source $version"
        rm -f "$folder/$source"_*
    done
    die "of no version of $source does the mirror have both the tarball and Debian's changes to it, which" \
        "hold its security fixes (${versions[*]:-none is listed}): try again later or with another mirror"
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
