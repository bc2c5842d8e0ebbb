# shellcheck shell=bash
# The browser that the page is tested in, and what drives it: Debian's Chromium, and two packages of
# npm in <cache>/browser. Needs common.sh, apt.sh.

# Playwright 1.61 is the last that runs with Debian 12's Node.js 18.
readonly kBrowserTools=(playwright-core@1.61.1 axe-core@4.14.1)

browser_tools_dir() { printf '%s\n' "$(cache_dir)/browser"; }

# The folder's name file says which versions are in it.
browser_tools_are_installed()
{
    [ "$(cat "$(browser_tools_dir)/versions" 2>/dev/null)" = "${kBrowserTools[*]}" ]
}

fetch_browser_tools()
{
    local folder=$1/browser
    mkdir "$folder"
    npm install --loglevel=error --no-save --no-package-lock --ignore-scripts --prefix "$folder" \
        "${kBrowserTools[@]}" >/dev/null || die "npm could not install: ${kBrowserTools[*]}"
    printf '%s\n' "${kBrowserTools[*]}" >"$folder/versions"
    rm -rf "$(browser_tools_dir)"
    mv -T "$folder" "$(browser_tools_dir)"
}

install_browser()
{
    install_packages chromium
    if browser_tools_are_installed; then
        return
    fi
    # Any npm does. Where there is none it is Debian's, with its node.
    command -v npm >/dev/null || install_packages ca-certificates npm
    say "Installing ${kBrowserTools[*]} into $(browser_tools_dir)"
    with_scratch fetch_browser_tools \
        || warn "the tests of the page in a browser will be skipped, and counted as such"
}
