# shellcheck shell=bash
# qemu-user, which runs programs for 64-bit ARM here. Needs common.sh, apt.sh.

readonly kFormats=/proc/sys/fs/binfmt_misc
readonly kArmFormat=orlix-aarch64

# cmake/aarch64.cmake names the same file.
qemu_file() { printf '%s\n' "$(cache_dir)/qemu/qemu-aarch64"; }

# Of Debian 13: the one of Debian 12 cannot make a program the parent of what its children leave. Without it
# the library can be built and packed all the same.
install_qemu()
{
    [ -x "$(qemu_file)" ] || with_scratch fetch_qemu || warn "there is no qemu: no program for ARM runs here"
    [ ! -x "$(qemu_file)" ] || arm_programs_start || register_qemu
}

fetch_qemu()
{
    say "Fetching qemu into $(cache_dir)/qemu"
    update_lists "$1/apt" deb trixie
    (cd "$1" && apt_in "$1/apt" apt-get download qemu-user/trixie) 2>"$1/log" \
        || { cat "$1/log" >&2; die "qemu could not be fetched"; }
    mkdir "$1/qemu"
    dpkg-deb --fsys-tarfile "$1"/qemu-user_*.deb | tar -x -C "$1/qemu" --strip-components=3 ./usr/bin/qemu-aarch64
    rm -rf "$(cache_dir)/qemu"
    mv -T "$1/qemu" "$(cache_dir)/qemu"
}

# Whether programs for ARM start each other here like the machine's own. Tried, for in a container the
# registration may be that of the machine around it; with what an older qemu cannot.
arm_programs_start() { with_scratch start_arm_program 2>/dev/null; }

start_arm_program()
{
    aarch64-linux-gnu-gcc -static -x c -o "$1/probe" - \
        <<<'#include <sys/prctl.h>
            int main(void) { return prctl(PR_SET_CHILD_SUBREAPER, 1); }' \
        && "$1/probe"
}

# What needs that, by name.
readonly kStartsPrograms="(ApplicationTest|CameraInService|Doctor|DriverProbeTest|HostTest|LockOrderDeathTest\
|ManagerInstallationTest|ManagerProcessTest|PosixProcessTest|ProcessTest|RoadTest|RunCommandTest\
|RuntimesManagerTest|ShortageTest|SmallDiskForCopies|guide)\..*\
|DeviceParameters.WhatIsReplacedDoesNotRun\
|EngineInService.AnApplicationThatMayNotBeStartedAgainIsReportedOnce\
|EngineTest.(TheApplicationRunsWhileACameraIsSwitchedOn|WhileAnotherHostIsThereNoApplicationIsStarted)\
|ServiceLadder.AmongSeveralRuntimesTheUserChooses\
|Shutdown.WaitsForAnApplicationThatDoesNotEnd"

# leave_out_what_starts_programs PRESET: by cmake/emulated, where they cannot be started. Needs coverage.sh.
leave_out_what_starts_programs()
{
    if arm_programs_start; then
        return
    fi
    local names
    mapfile -t names < <(test_names "$1" | grep -xE "$kStartsPrograms")
    printf '%s: left out: it starts programs for ARM, and qemu is not registered here\n' "${names[@]}"
    TAVO_LEFT_OUT=$(IFS=';' && printf '%s' "${names[*]}")
    export TAVO_LEFT_OUT
}

# Registers it with the kernel, where that is allowed: an ELF file for AArch64 (O: which may have no name;
# P: under the name that it is given; F: in other roots, too).
register_qemu()
{
    say "Registering qemu for programs for ARM in $kFormats"
    (
        [ -e "$kFormats/register" ] || as_root mount -t binfmt_misc binfmt_misc "$kFormats"
        [ ! -e "$kFormats/$kArmFormat" ] || printf -- -1 | as_root tee "$kFormats/$kArmFormat"
        printf '%s' ":$kArmFormat:M::" '\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00:' \
            '\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff:' \
            "$(qemu_file):OPF" | as_root tee "$kFormats/register"
    ) >/dev/null 2>&1 || true
    arm_programs_start || warn "it cannot be registered here: programs for ARM start none of their kind, and the" \
        "tests that want that are left out. In a container, register it on the machine around it."
}
