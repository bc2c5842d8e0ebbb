#!/usr/bin/env bash
# Keeps the layers apart: who may include whom, and where the operating system may be known. Each
# breach is one line, and any makes the check fail.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

plugin=vms/server/plugins/analytics/tavo_orlix_manager_plugin
failed=0

# breach WHY LINES: reports the lines, if there are any.
breach()
{
    [ -n "$2" ] || return 0
    printf '%s:\n%s\n' "$1" "$2" >&2
    failed=1
}

# includes FOLDER: "file:line:#include ..." of its sources, tests left out.
includes()
{
    grep -rnE '^[[:space:]]*#[[:space:]]*include' --include='*.h' --include='*.cpp' "$1" \
        | grep -v '/tests/' || true
}

# Which folder may not include which of the project's headers.
forbid()
{
    local folder=$1 pattern=$2 why=$3
    breach "$why" "$(includes "$folder" | grep -E "include [\"<]($pattern)" || true)"
}

subsystems='core|device_agent|inference|runtimes|models|remote'
forbid open/vms/libs "($subsystems|utils)/" "the host's libraries know nothing of the plugin"
forbid $plugin/utils "($subsystems|tavo)/" "the utilities stand below everything"
forbid $plugin/plugin/src/remote '(inference|runtimes|models)/|core/(engine|plugin)\.h|device_agent/device_agent' \
    "the remote services serve the others"
forbid $plugin/plugin/src/models '(inference|runtimes|device_agent)/|core/(engine|plugin)\.h' \
    "the model cache knows neither cameras nor the application"
forbid $plugin/plugin/src/runtimes '(inference|models|device_agent)/|core/(engine|plugin)\.h' \
    "the runtimes know neither cameras nor models"
forbid devkit/host "($subsystems|utils)/" "the stand-in host knows the SDK alone"
forbid devkit/manager '(core|device_agent|runtimes|models|remote)/|inference/(orlix|input|send|attached)' \
    "the reference application knows the protocol and the utilities alone"

# Only a platform's own folder may include its headers or ask where it runs.
platform='(sys|linux|arpa|netinet)/|unistd\.h|fcntl\.h|poll\.h|pthread\.h|dlfcn\.h|spawn\.h|signal\.h|windows\.h|winsock2\.h'
breach "system headers belong into posix/ and windows/" \
    "$({ includes open; includes $plugin; } | grep -vE '/(posix|windows)/' | grep -E "include <($platform)" || true)"
breach "logic does not ask where it runs" \
    "$(grep -rnE '^[[:space:]]*#[[:space:]]*if.*(_WIN32|__linux__|__unix__|__APPLE__|_MSC_VER)' \
        --include='*.h' --include='*.cpp' open $plugin devkit bench | grep -vE '/(posix|windows)/' || true)"

[ "$failed" = 0 ] && echo "includes are in order"
exit "$failed"
