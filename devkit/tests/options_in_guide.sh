#!/usr/bin/env bash
# Whether the guide's tables name the options that the programs have, and no others.
# usage: options_in_guide.sh GUIDE HOST SERVICES BRUNMOD BRUND
# Each difference is one line, and any makes the test fail.
set -euo pipefail
guide=$1 host=$2 services=$3
shift 3

# in_table PROGRAM: the options in the first column of its table.
in_table() {
    # shellcheck disable=SC2016 # the backquotes are the table's
    sed -n "/^### $1\$/,/^##/p" "$guide" | sed -nE 's/^\| `(-[^` ]+).*/\1/p' | sort
}

in_help() {
    "$1" --help | sed -nE 's/^ *(-h,)?(--[a-z-]+).*/\2/p' | grep -v '^--help$' | sort
}

# The application's programs have no --help: they say which letter they do not understand.
understood() {
    local letter
    for letter in {a..z}; do
        [[ $("$1" "-$letter" 0 2>&1) == *"not understood"* ]] || printf '%s\n' "-$letter"
    done
}

status=0
compare() {
    local differences
    differences=$(diff <(in_table "$1") - | sed -nE "s/^</in the guide alone: $1/p; s/^>/not in the guide: $1/p") || true
    [ -z "$differences" ] || { echo "$differences"; status=1; }
}
compare tavo_host < <(in_help "$host")
compare tavo_services < <(in_help "$services")
for program in "$@"; do
    compare "$(basename "$program")" < <(understood "$program")
done
exit $status
