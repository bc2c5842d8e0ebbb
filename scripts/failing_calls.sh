#!/usr/bin/env bash
# Has every call that can fail do so, one a run: files, sockets, processes, threads, memory, made in the
# library or on its behalf, over the roads that it goes. Each run has to end in time, with nothing left
# behind, and the next one, in which nothing fails, has to work. Prints a line for each road and kind of
# call, and what it finds with where the call came from. Fails where it finds anything.
#
# usage: failing_calls.sh [ROAD [--kind KIND] [--first N] [--most N]]
#   ROAD         load, install, frame, settings or crash; all one after the other otherwise
#   --kind KIND  one kind of call
#   --first N    begin with that call
#   --most N     about so many runs of each kind, spread over its calls; otherwise each call fails once,
#                which takes hours for all roads
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
cmake --preset debug
cmake --build --preset debug --target failing_calls
program=build/debug/devkit/failing_calls/failing_calls
if [ $# -gt 0 ]; then
    exec "$program" "$@"
fi
failed=0
for road in load install frame settings crash; do
    "$program" "$road" || failed=1
done
exit "$failed"
