# shellcheck shell=bash
# Debian packages: which are missing, installing just those. Needs common.sh.

readonly kDebianKeyring=/usr/share/keyrings/debian-archive-keyring.gpg
apt_lists_are_fresh=no

# package_is_installed NAME[:ARCHITECTURE]: of this machine's architecture, where none is named.
package_is_installed()
{
    local architecture=${1#*:}
    [ "$architecture" != "$1" ] || architecture="all|$(dpkg --print-architecture)"
    dpkg-query -W -f='${db:Status-Status} ${Architecture}\n' "$1" 2>/dev/null \
        | grep -qxE "installed ($architecture)"
}

# add_architecture NAME: packages of it can be installed beside the machine's own.
add_architecture()
{
    if ! dpkg --print-foreign-architectures | grep -qx "$1"; then
        as_root dpkg --add-architecture "$1"
        apt_lists_are_fresh=no
    fi
}

# missing_packages NAME...: those of the names that are not installed, one a line.
missing_packages()
{
    local name
    for name in "$@"; do
        package_is_installed "$name" || printf '%s\n' "$name"
    done
}

# Once a run at most, and only called where something must be installed.
refresh_apt_lists()
{
    if [ "$apt_lists_are_fresh" = no ]; then
        say "Refreshing the package lists"
        # A source that fails may be one that nothing here needs; what is missed says so later.
        as_root apt-get -qq update || warn "apt-get update failed"
        apt_lists_are_fresh=yes
    fi
}

# install_packages NAME...: installs those that are missing, and says so.
install_packages()
{
    local missing
    mapfile -t missing < <(missing_packages "$@")
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    refresh_apt_lists
    say "Installing: ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -y -o Dpkg::Use-Pty=0 \
        install --no-install-recommends "${missing[@]}" >/dev/null \
        || die "apt-get could not install: ${missing[*]}"
}

# install_file PATH: writes standard input there as root, unless the file says so already.
# Succeeds where the file changed.
install_file()
{
    local text
    text=$(cat)
    if [ -f "$1" ] && [ "$(cat "$1")" = "$text" ]; then
        return 1
    fi
    say "Writing $1"
    printf '%s\n' "$text" | as_root tee "$1" >/dev/null
    as_root chmod 644 "$1"
}

# The address that this machine has its own Debian release from, so that a mirror stays in use.
# Read from the lists themselves: they know every way in which sources can be written.
debian_uri()
{
    local uri
    uri=$(list_debian_uris)
    if [ -z "$uri" ]; then
        refresh_apt_lists >&2
        uri=$(list_debian_uris)
    fi
    [ -n "$uri" ] || die "no Debian source for $(debian_codename) found; see 'apt-get indextargets'"
    printf '%s\n' "${uri%%$'\n'*}"
}

# One address a line, empty where the package lists were never fetched.
list_debian_uris()
{
    # shellcheck disable=SC2016 # the word is for apt-get to expand
    apt-get indextargets --format '$(REPO_URI)' \
        'Created-By: Packages' 'Origin: Debian' 'Label: Debian' "Codename: $(debian_codename)"
}

debian_codename()
{
    # shellcheck source=/dev/null
    (. /etc/os-release && printf '%s\n' "${VERSION_CODENAME:-}")
}

# apt_source TYPE URI SUITE: the text of a sources file.
apt_source()
{
    printf 'Types: %s\nURIs: %s\nSuites: %s\nComponents: main\n' "$1" "$2" "$3"
    if [ -f "$kDebianKeyring" ]; then
        printf 'Signed-By: %s\n' "$kDebianKeyring"
    fi
}

# suite_parts CODENAME: "URI SUITE" lines of those of the machine's own sources that belong to the
# release, its updates and its security fixes; the release alone where the machine has none of it.
suite_parts()
{
    # shellcheck disable=SC2016 # the words are for apt-get to expand
    apt-get indextargets --format '$(REPO_URI) $(RELEASE)' 'Created-By: Packages' 'Origin: Debian' \
        | grep -E " $1(-updates|-security)?\$" | sort -u | grep . \
        || printf '%s %s\n' "$(debian_uri)" "$1"
}

# apt_in STATE COMMAND ARGUMENTS...: apt with all of its files below STATE, so it needs no root and leaves
# the machine's sources alone.
apt_in()
{
    local state=$1 command=$2
    shift 2
    "$command" -qq -o APT::Sandbox::User="$(id -un)" -o Dir::Etc::sourcelist=/dev/null \
        -o Dir::Etc::sourceparts="$state/parts" -o Dir::State::lists="$state/lists" \
        -o Dir::Cache="$state" "$@"
}

# update_lists STATE deb|deb-src CODENAME: what the release has, for apt_in STATE.
update_lists()
{
    local uri part
    mkdir -p "$1"/{parts,lists/partial,archives/partial}
    while read -r uri part; do
        apt_source "$2" "$uri" "$part" >"$1/parts/$part.sources"
    done < <(suite_parts "$3")
    apt_in "$1" apt-get update || die "Debian's lists could not be fetched"
    touch "$1/updated"
}
