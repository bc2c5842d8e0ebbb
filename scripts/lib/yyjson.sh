# shellcheck shell=bash
# yyjson. Debian 12 has none, so it comes from Debian 13: a library that needs nothing but libc.
# Its release is pinned so low that no other package ever moves there. Needs common.sh, apt.sh.

readonly kYyjsonVersion=0.10
readonly kYyjsonSuite=trixie

yyjson_is_installed()
{
    package_is_installed libyyjson-dev \
        && dpkg --compare-versions "$(dpkg-query -W -f='${Version}' libyyjson-dev)" ge "$kYyjsonVersion"
}

# Whether the sources that the machine has now offer one that is new enough.
yyjson_is_offered()
{
    local candidate
    candidate=$(apt-cache policy libyyjson-dev | sed -n 's/^  Candidate: //p')
    [ -n "$candidate" ] && [ "$candidate" != "(none)" ] \
        && dpkg --compare-versions "$candidate" ge "$kYyjsonVersion"
}

add_yyjson_source()
{
    local uri
    uri=$(debian_uri)
    # The pin first: never is the release there without it.
    install_file /etc/apt/preferences.d/tavo-orlix-yyjson <<END || true
Package: *
Pin: release n=$kYyjsonSuite
Pin-Priority: -10

Package: libyyjson0 libyyjson-dev
Pin: release n=$kYyjsonSuite
Pin-Priority: 500
END
    if apt_source deb "$uri" "$kYyjsonSuite" \
        | install_file /etc/apt/sources.list.d/tavo-orlix-yyjson.sources; then
        # shellcheck disable=SC2034 # read in apt.sh
        apt_lists_are_fresh=no
    fi
}

install_yyjson()
{
    if yyjson_is_installed; then
        return
    fi
    refresh_apt_lists
    if ! yyjson_is_offered; then
        add_yyjson_source
        refresh_apt_lists
    fi
    yyjson_is_offered || die "no libyyjson-dev $kYyjsonVersion or later is offered by the sources"
    install_packages libyyjson-dev
}
