#!/usr/bin/env bash
# What a library's source needs before CMake can build it. Run in the source's folder by cmake/libraries.
#
# usage: prepare.sh NAME
set -euo pipefail

case $1 in
    # All header in its source: split into a header and what is compiled once.
    httplib)
        mkdir -p split
        awk -v border="// -----------------------------------------------" '
            BEGIN { print "#include \"httplib.h\"\nnamespace httplib {" >"httplib.cc" }
            index($0, border) { within = !within; next }
            within { gsub(/inline /, ""); print >"httplib.cc"; next }
            { print >"split/httplib.h" }
            END { print "} // namespace httplib" >"httplib.cc" }' httplib.h
        mv split/httplib.h httplib.h
        ;;
esac
