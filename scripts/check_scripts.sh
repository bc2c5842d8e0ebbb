#!/usr/bin/env bash
# Whether the page's modules and their tests are JavaScript that a browser takes, and keep to what
# they may: no request to anywhere but the host. Each breach is one line, and any makes the check fail.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../devkit/web"

failed=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
while IFS= read -r -d '' file; do
    cp "$file" "$scratch/module.mjs" # read as a module whatever its name says
    node --check "$scratch/module.mjs" || { printf '%s\n' "$file" >&2; failed=1; }
done < <(find . \( -name '*.js' -o -name '*.mjs' \) -print0)

if grep -rnE '(https?:)?//[a-z0-9-]+\.[a-z]|innerHTML|outerHTML *=|document\.write|eval\(' \
    --include='*.js' --include='*.html' --include='*.css' . | grep -v 'www\.w3\.org/2000/svg'; then
    printf 'the page loads from its host alone, and makes no markup of texts\n' >&2
    failed=1
fi
[ "$failed" = 0 ] && echo "the page's scripts are in order"
exit "$failed"
