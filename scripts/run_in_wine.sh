#!/usr/bin/env bash
# Runs a Windows program in the Wine prefix $WINEPREFIX, with no screen. ctest calls it for each test
# of the Windows build; scripts/test.sh windows makes the prefix.
set -euo pipefail
# shellcheck source=scripts/lib/common.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
# shellcheck source=scripts/lib/wine.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib/wine.sh"

set_wine_options
exec "${wine[@]}" "$@"
