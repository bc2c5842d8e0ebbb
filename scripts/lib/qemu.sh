# shellcheck shell=bash
# qemu-user, which runs programs for 64-bit ARM here. Needs common.sh, debian_source.sh.

readonly kFormats=/proc/sys/fs/binfmt_misc
readonly kArmFormat=orlix-aarch64

# cmake/aarch64.cmake names the same file.
qemu_file() { printf '%s\n' "$(cache_dir)/qemu/qemu-aarch64"; }

# Of Debian 13: the one of Debian 12 cannot make a program the parent of what its children leave.
install_qemu()
{
    [ -x "$(qemu_file)" ] || with_scratch fetch_qemu
    register_qemu
}

fetch_qemu()
{
    say "Fetching qemu into $(cache_dir)/qemu"
    update_source_lists "$1" trixie deb
    (cd "$1" && apt_in "$1" apt-get download qemu-user/trixie) 2>"$1/log" \
        || { cat "$1/log" >&2; die "qemu could not be fetched"; }
    mkdir "$1/qemu"
    dpkg-deb --fsys-tarfile "$1"/qemu-user_*.deb | tar -x -C "$1/qemu" --strip-components=3 ./usr/bin/qemu-aarch64
    rm -rf "$(cache_dir)/qemu"
    mv -T "$1/qemu" "$(cache_dir)/qemu"
}

# Whether programs for ARM start each other here like the machine's own.
qemu_is_registered() { grep -qsxF "interpreter $(qemu_file)" "$kFormats/$kArmFormat"; }

# Registers it with the kernel, where that is allowed: an ELF file for AArch64 (O: which may have no name;
# P: under the name that it is given; F: in other roots, too).
register_qemu()
{
    if qemu_is_registered; then
        return
    fi
    say "Registering qemu for programs for ARM in $kFormats"
    {
        [ -e "$kFormats/register" ] || as_root mount -t binfmt_misc binfmt_misc "$kFormats"
        [ ! -e "$kFormats/$kArmFormat" ] || printf -- -1 | as_root tee "$kFormats/$kArmFormat"
        printf '%s' ":$kArmFormat:M::" '\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00:' \
            '\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff:' \
            "$(qemu_file):OPF" | as_root tee "$kFormats/register"
    } >/dev/null 2>&1 || true
    qemu_is_registered || warn "it cannot be registered here: programs for ARM start none of their kind, and the" \
        "tests that want that fail. In a container, register it on the machine around it."
}
