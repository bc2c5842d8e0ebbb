#!/usr/bin/env bash
# Sets up, builds, checks and packs what goes to users: an archive in build/packages, with its SHA-256
# sum beside it. Nothing is packed that fails a check.
#
# usage: package.sh [linux|windows|aarch64]
# TAVO_JOBS: how many compilers run at a time; all processors otherwise.
set -euo pipefail

here=$(dirname "${BASH_SOURCE[0]}")
# shellcheck source=scripts/lib/common.sh
. "$here/lib/common.sh"

case ${1:-linux} in
    linux) preset=package targets=(tavo_orlix_manager_plugin orlix_doctor bare_host) ;;
    windows) preset=windows targets=(tavo_orlix_manager_plugin orlix_doctor) ;;
    aarch64) preset=aarch64 targets=(tavo_orlix_manager_plugin orlix_doctor bare_host) ;;
    *) die "usage: $0 [linux|windows|aarch64]" ;;
esac
"$here/setup.sh" "$preset"
cd "$(repo_dir)"
cmake --preset "$preset"
cmake --build --preset "$preset" -j "${TAVO_JOBS:-$(nproc)}" --target "${targets[@]}"
scripts/check_package.sh "build/$preset"
cpack --config "build/$preset/CPackConfig.cmake" -B build/packages >build/packages.log \
    || { cat build/packages.log >&2; die "the archive could not be made"; }
rm -rf build/packages/_CPack_Packages
say "Packed:" build/packages/*
