# shellcheck shell=bash
# What every script here needs: messages, the two folders, and root where it must be.
# Sourced, never run. Callers set `set -euo pipefail`.

say() { printf '%s\n' "$@"; }
warn() { printf 'warning: %s\n' "$*" >&2; }

# Ends the script; the message says what to do about it.
die()
{
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# Ends the script where this machine does not let it do its work, which is no fault of what it looks at.
cannot()
{
    warn "$@"
    exit 77
}

# The checkout that the running script belongs to.
repo_dir()
{
    (cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
}

# Where things live that are built or downloaded once for all clones of one user.
# cmake/TavoCache.cmake computes the same folder.
cache_dir()
{
    if [ -n "${TAVO_CACHE_DIR:-}" ]; then
        printf '%s\n' "$TAVO_CACHE_DIR"
    elif [ -n "${XDG_CACHE_HOME:-}" ]; then
        printf '%s\n' "$XDG_CACHE_HOME/tavo_orlix"
    else
        printf '%s\n' "${HOME:?HOME is not set}/.cache/tavo_orlix"
    fi
}

# as_root COMMAND...: runs it as root, through sudo where the caller is not.
as_root()
{
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "this needs root and there is no sudo; run as root: $*"
    fi
}

# Sets fixed_addresses to what, before a command, has it and all that it starts lie in memory where it
# lay the last time; to nothing where the system does not allow that.
find_fixed_addresses()
{
    fixed_addresses=(setarch "$(uname -m)" -R)
    "${fixed_addresses[@]}" true 2>/dev/null || fixed_addresses=()
}

# file_has_sha256 FILE SUM
file_has_sha256()
{
    printf '%s  %s\n' "$2" "$1" | sha256sum --check --status
}

# with_scratch FUNCTION ARGUMENTS...: calls FUNCTION with a new folder inside the cache as its first
# argument and removes the folder however the call ends. Being inside the cache, what was made in it
# can be renamed to its place in one step.
with_scratch()
(
    mkdir -p "$(cache_dir)"
    scratch=$(mktemp -d "$(cache_dir)/scratch.XXXXXX")
    trap 'rm -rf "$scratch"' EXIT
    function=$1
    shift
    "$function" "$scratch" "$@"
)
