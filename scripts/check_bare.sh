#!/usr/bin/env bash
# The archive for users on systems with nothing on them: Debian of two releases, as debootstrap makes them
# from this machine's own sources (kept in the cache). The library is unpacked and loaded by a host that
# needs nothing, up to an agent of a camera that it shows pictures, with no application there. It asks one
# server whose certificate the system's authorities vouch for, and one for whom nobody does, and goes
# again with nothing left behind. The doctor then tells what the system lacks. Needs root, and build/packages
# of scripts/package.sh. Ends with 77 where the machine does not allow it.
#
# usage: check_bare.sh [CODENAME...]   bookworm and trixie otherwise
# shellcheck disable=SC2317 # called by name or at the end
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/apt.sh
. "$here/lib/apt.sh"

readonly kSeconds=5
failed=0
servers=()

breach()
{
    printf '%s\n' "$*" >&2
    failed=1
}

clean_up()
{
    [ ${#servers[@]} -eq 0 ] || kill "${servers[@]}" 2>/dev/null || true
    rm -rf "$work"
}

# make_system FOLDER CODENAME
make_system()
{
    say "Fetching a bare $2 into $(cache_dir)/bare"
    debootstrap --variant=minbase --keyring="$kDebianKeyring" "$2" "$1/system" "$(debian_uri)" \
        >"$1/log" 2>&1 || { tail -n 20 "$1/log" >&2; cannot "debootstrap could not make a $2 here"; }
    rm -rf "$1/system/var/cache/apt/archives" "$1/system/var/lib/apt/lists"
    mkdir -p "$(cache_dir)/bare"
    mv -T "$1/system" "$(cache_dir)/bare/$2"
}

# make_certificate NAME: of an authority NAME and of this machine, signed by it, in the working folder.
make_certificate()
{
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=$1" \
        -keyout "$work/$1.ca.key" -out "$work/$1.ca.pem" 2>/dev/null
    openssl req -newkey rsa:2048 -nodes -subj /CN=localhost \
        -keyout "$work/$1.key" -out "$work/$1.request" 2>/dev/null
    openssl x509 -req -in "$work/$1.request" -CA "$work/$1.ca.pem" -CAkey "$work/$1.ca.key" \
        -CAcreateserial -days 2 -extfile <(echo subjectAltName=DNS:localhost) -out "$work/$1.pem" \
        2>/dev/null
}

# serve NAME: a server with that certificate, which writes down what it is asked and never answers. Sets
# port.
serve()
{
    : >"$work/$1.asked"
    openssl s_server -accept 127.0.0.1:0 -cert "$work/$1.pem" -key "$work/$1.key" \
        <&3 >>"$work/$1.asked" 2>&1 &
    servers+=($!)
    for _ in {1..50}; do
        port=$(sed -n 's/^ACCEPT .*:\([0-9]*\)$/\1/p' "$work/$1.asked")
        [ -z "$port" ] || return 0
        sleep 0.1
    done
    die "openssl does not serve: $(cat "$work/$1.asked")"
}

# run_host ROOT PORT: the host in the system at ROOT, with a storage at that port. A configuration of
# OpenSSL's that is opened would never end: it is a pipe into which nobody writes.
run_host()
{
    printf '%s\n' "OrlixManagerStorageURL=https://localhost:$2" verifyCertificates=true \
        CloudAPI=https://localhost:9 RuntimesStorageURL=https://localhost:9 \
        >"$1/bare/tavo_orlix_manager_plugin.ini"
    # shellcheck disable=SC2016 # for the shell inside to expand
    timeout --kill-after=5 90 unshare --mount --pid --fork --kill-child chroot "$1" /bin/sh -c '
        mount -t proc proc /proc && mount -t tmpfs tmpfs /dev/shm || exit 3
        env -i PATH=/usr/bin:/bin HOME=/root TAVO_INI_DIR=/bare OPENSSL_CONF=/bare/openssl.cnf \
            /bare/bare_host /bare/tavo_orlix_manager_plugin.so /bare/home "$1"
        status=$?
        set -- /proc/[0-9]*
        [ $# = 1 ] || { echo "left: $(($# - 1)) processes"; status=4; }
        [ -z "$(ls -A /dev/shm)" ] || { echo "left: shared memory"; status=4; }
        exit $status' sh "$kSeconds" || breach "the host ended with $?"
}

# run_doctor ROOT: what it says of the system at ROOT, where the host has been.
run_doctor()
{
    local line status=0
    timeout --kill-after=5 90 chroot "$1" /usr/bin/env -i PATH=/usr/bin:/bin HOME=/root TAVO_INI_DIR=/bare \
        OPENSSL_CONF=/bare/openssl.cnf /bare/orlix_doctor --working-directory /bare/home/tavo_orlix_manager \
        >"$work/doctor.txt" || status=$?
    [ "$status" = 2 ] || breach "the doctor ended with $status"
    for line in '^OpenMP: .* is missing on this system \[bad\]' '^Last crash: none' \
        '^Storage: https://localhost:.*certificate.*\[bad\]' '^Shared memory: /dev/shm, '; do
        grep -q "$line" "$work/doctor.txt" || breach "the doctor does not say $line"
    done
    cat "$work/doctor.txt"
}

check_system()
{
    local root=$work/$1 left
    [ -d "$(cache_dir)/bare/$1" ] || with_scratch make_system "$1"
    say "$1:"
    cp -a "$(cache_dir)/bare/$1" "$root"
    mkdir -p "$root/bare/home" "$root/dev/shm" "$root/etc/ssl/certs"
    tar -xzf "$archive" -C "$root/bare"
    cp build/package/devkit/bare_host/bare_host "$root/bare/"
    mkfifo "$root/bare/openssl.cnf"
    cp "$work/known.ca.pem" "$root/etc/ssl/certs/ca-certificates.crt"

    ! chroot "$root" ldd /bare/tavo_orlix_manager_plugin.so /bare/orlix_doctor 2>/dev/null | grep 'not found' \
        || breach "the system lacks a library"
    : >"$work/known.asked"
    : >"$work/unknown.asked"
    run_host "$root" "$known_port"
    run_host "$root" "$unknown_port"
    grep -aq '^GET /.* HTTP/1.1' "$work/known.asked" \
        || breach "the server that the system's authorities vouch for was not asked"
    grep -aq 'alert unknown ca' "$work/unknown.asked" \
        || breach "the server that nobody vouches for was not refused"
    ! grep -aq '^GET ' "$work/unknown.asked" || breach "the server that nobody vouches for was asked"
    run_doctor "$root"
    left=$(ls -A "$root/tmp")
    [ "${left:-orlix_plugin.sock.lock}" = orlix_plugin.sock.lock ] || breach "left in /tmp: $left"
    [ "$failed" = 0 ] || grep -h -v 'received uncompressed' "$root"/bare/home/*/*.log >&2
}

[ "$(id -u)" = 0 ] || cannot "a bare system is left out: this needs root, to look like one: sudo $0"
unshare --mount --pid --fork --kill-child sh -c 'mount -t proc proc /proc && chroot / true' 2>/dev/null \
    || cannot "a bare system is left out: this machine allows no namespaces, to look like one"
install_packages debootstrap openssl
cd "$(repo_dir)"
archive=$(compgen -G 'build/packages/*-x86_64-linux.tar.gz') || die "there is no package: run scripts/package.sh"
mkdir -p "$(cache_dir)"
work=$(mktemp -d "$(cache_dir)/scratch.XXXXXX")
trap clean_up EXIT
mkfifo "$work/quiet"
exec 3<>"$work/quiet"
make_certificate known
make_certificate unknown
serve known && readonly known_port=$port
serve unknown && readonly unknown_port=$port

[ $# -gt 0 ] || set -- bookworm trixie
for codename in "$@"; do
    check_system "$codename"
done
[ "$failed" = 0 ] && say "it works on a bare: $*"
exit "$failed"
