# TAVO_CACHE: where scripts/setup.sh keeps what it builds or downloads once for all clones. Computed
# as cache_dir in scripts/lib/common.sh does.

if(DEFINED ENV{TAVO_CACHE_DIR})
    set(TAVO_CACHE $ENV{TAVO_CACHE_DIR})
elseif(DEFINED ENV{XDG_CACHE_HOME})
    set(TAVO_CACHE $ENV{XDG_CACHE_HOME}/tavo_orlix)
else()
    set(TAVO_CACHE $ENV{HOME}/.cache/tavo_orlix)
endif()
