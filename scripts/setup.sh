#!/usr/bin/env bash
# Brings a bare Debian 12 to where the repo builds. Installs what is missing and only that, as root or
# through sudo; a second run changes nothing. What has no package is built into the cache folder:
# $TAVO_CACHE_DIR, else $XDG_CACHE_HOME/tavo_orlix, else ~/.cache/tavo_orlix. Ends with 77 where the machine
# cannot be set up for ARM.
#
# usage: setup.sh [build|test|demo|lint|fuzz|mutate|package|windows|aarch64]
#   build    what compiling and testing need (the default)
#   test     the same, and the browser that the host's page is tested in
#   demo     the same as build, and the video and the model of the demonstration
#   lint     the same as build, and what scripts/lint.sh needs
#   fuzz     the same as build, and what scripts/fuzz.sh needs
#   mutate   the same as build, and what scripts/mutate.py needs
#   package  the same as build, and what the package for users on Linux is made of and tried with
#   windows  the same as build, and what compiling for Windows and testing under Wine need
#   aarch64  the same as build, and what compiling for Linux on 64-bit ARM and testing with qemu need
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"
# shellcheck source=scripts/lib/apt.sh
. "$here/lib/apt.sh"
# shellcheck source=scripts/lib/libraries.sh
. "$here/lib/libraries.sh"
# shellcheck source=scripts/lib/qemu.sh
. "$here/lib/qemu.sh"
# shellcheck source=scripts/lib/assets.sh
. "$here/lib/assets.sh"
# shellcheck source=scripts/lib/browser.sh
. "$here/lib/browser.sh"

readonly kToolPackages=(g++ cmake ninja-build ccache pkg-config git xz-utils patch)
readonly kLibraryPackages=(libcurl4-openssl-dev libssl-dev libsimpleini-dev qt6-base-dev)
readonly kTestPackages=(libgtest-dev libgmock-dev libbenchmark-dev)
readonly kDevkitPackages=(
    libavdevice-dev libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
    # OpenCV's parts by name: libopencv-dev would bring half a desktop.
    libopencv-dnn-dev libopencv-objdetect-dev libopencv-imgproc-dev libopencv-imgcodecs-dev
    libcli11-dev libsqlite3-dev curl)
readonly kLintPackages=(clang clang-format clang-tidy shellcheck)
readonly kWindowsPackages=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 libz-mingw-w64-dev
    wine64 clang perl make tcl)
readonly kArmPackages=(g++-aarch64-linux-gnu
    libssl-dev:arm64 libstdc++6:arm64 libgomp1:arm64 libgtest-dev:arm64 libgmock-dev:arm64 libsqlite3-dev:arm64)
readonly kFuzzPackages=(clang libclang-rt-14-dev llvm) # llvm: names in reports

set_up_build()
{
    install_packages "${kToolPackages[@]}" "${kLibraryPackages[@]}" "${kTestPackages[@]}" \
        "${kDevkitPackages[@]}"
    install_libraries
}

command -v apt-get >/dev/null || die "this set-up is for Debian 12: there is no apt-get here"
mode=${1:-build}
case $mode in
    build) set_up_build ;;
    test)
        set_up_build
        install_browser
        ;;
    demo)
        set_up_build
        install_video
        install_model
        ;;
    lint)
        set_up_build
        install_packages "${kLintPackages[@]}"
        command -v node >/dev/null || install_packages nodejs
        ;;
    fuzz)
        set_up_build
        install_packages "${kFuzzPackages[@]}"
        install_libraries -DTAVO_FUZZ=ON -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
        ;;
    mutate)
        set_up_build
        install_packages python3-clang-14
        ;;
    package)
        set_up_build
        install_libraries -DTAVO_SELF_CONTAINED=ON
        ;;
    windows)
        set_up_build
        install_packages "${kWindowsPackages[@]}"
        install_libraries -DTAVO_SELF_CONTAINED=ON --toolchain "$(repo_dir)/cmake/windows.cmake"
        ;;
    aarch64)
        set_up_build
        add_architecture arm64
        (install_packages "${kArmPackages[@]}") || cannot "Debian's packages for 64-bit ARM cannot be installed here"
        install_libraries -DTAVO_SELF_CONTAINED=ON --toolchain "$(repo_dir)/cmake/aarch64.cmake"
        install_qemu
        ;;
    *) die "usage: $0 [build|test|demo|lint|fuzz|mutate|package|windows|aarch64]" ;;
esac
say "Set-up for '$mode' is complete"
