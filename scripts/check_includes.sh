#!/usr/bin/env bash
# Keeps the layers apart: who may include whom, and where the operating system may be known. Each
# breach is one line, and any makes the check fail.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

plugin=vms/server/plugins/analytics/tavo_orlix_manager_plugin
src=$plugin/plugin/src
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
    find "$1" -name tests -prune -o \( -name '*.h' -o -name '*.cpp' \) -print0 \
        | xargs -0 -r grep -HnE '^[[:space:]]*#[[:space:]]*include' || true
}

# forbid FOLDER PATTERN WHY: which of the project's headers its sources may not include.
forbid()
{
    breach "$3" "$(includes "$1" | grep -P "include [\"<]($2)" || true)"
}

# The plugin's folders from the roof down. Each may include itself and what stands below it; models
# and runtimes stand side by side.
above='core/'
forbid $src/device_agent "$above" "device_agent stands below core"
forbid $src/diagnosis 'core/|device_agent/|inference/(?!protocol\.h)' \
    "diagnosis stands below core, beside device_agent, and knows the protocol alone"
forbid $src/device_agent 'diagnosis/' "device_agent stands beside diagnosis"
above+='|device_agent/|diagnosis/'
forbid $src/inference "$above" "inference stands below device_agent"
above+='|inference/'
forbid $src/runtimes "$above|models/" "runtimes stands below inference, beside models"
forbid $src/models "$above|runtimes/" "models stands below inference, beside runtimes"
above+='|runtimes/|models/'
forbid $src/remote "$above" "remote stands below runtimes and models"
above+='|remote/'
forbid $src/base "$above" "base stands below remote"
above+='|base/'
forbid $plugin/utils "$above|tavo/" "utils stands below everything"
forbid open/vms/libs "$above|utils/" "the host's libraries know nothing of the plugin"

forbid devkit/host "$above|utils/" "the stand-in host knows the SDK alone"
forbid devkit/services "$above" "the stand-in services know the utilities alone"
forbid devkit/manager 'core/|base/|device_agent/|runtimes/|models/|remote/|inference/(?!protocol\.h)' \
    "the reference application knows the protocol and the utilities alone"

# Only a platform's own folder may include its headers or ask where it runs.
platform='(sys|linux|arpa|netinet)/|unistd\.h|fcntl\.h|poll\.h|pthread\.h|dlfcn\.h|spawn\.h|signal\.h|windows\.h|winsock2\.h'
breach "system headers belong into posix/ and windows/" \
    "$({ includes open; includes $plugin; } | grep -vE '/(posix|windows)/' \
        | grep -E "include <($platform)" || true)"
breach "logic does not ask where it runs" \
    "$(grep -rnE '^[[:space:]]*#[[:space:]]*if.*(_WIN32|__linux__|__unix__|__APPLE__|_MSC_VER)' \
        --include='*.h' --include='*.cpp' open $plugin devkit bench | grep -vE '/(posix|windows)/' || true)"

# Without futexes they lose wake-ups; see cmake/windows.cmake.
breach "what waits for an atomic may wait for good on Windows" \
    "$(grep -rnE '^[[:space:]]*#[[:space:]]*include <(latch|barrier)>' --include='*.h' --include='*.cpp' \
        open vms devkit testing || true)"

[ "$failed" = 0 ] && echo "includes are in order"
exit "$failed"
