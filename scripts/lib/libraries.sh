# shellcheck shell=bash
# The libraries that cmake/TavoLibraries.cmake describes. Needs common.sh.

# install_libraries [CMAKE-ARGUMENT...]: builds into the cache what it does not have for that target.
install_libraries() { with_scratch build_libraries "$@"; }

build_libraries()
{
    local folder=$1
    shift
    cmake -S "$(repo_dir)/cmake/libraries" -B "$folder" -G Ninja --no-warn-unused-cli \
        -DFETCH="$(repo_dir)/scripts/lib/debian_source.sh" "$@" >"$folder/log" \
        || { cat "$folder/log" >&2; die "the libraries could not be configured"; }
    sed -n 's/^-- \(Building .* into .*\)/\1/p' "$folder/log"
    # One after the other: each takes all processors.
    cmake --build "$folder" -j 1 >"$folder/log" || { cat "$folder/log" >&2; die "the libraries could not be built"; }
}
