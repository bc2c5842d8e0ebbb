# shellcheck shell=bash
# Libraries that are built as static ones, each from Debian's source of the package that development
# builds on Linux use, into one folder of the cache per target and compiler; built anew where that
# package's version changed. Needs common.sh, apt.sh, debian_source.sh, yyjson.sh, and of each target
# TARGET_prefix.
# shellcheck disable=SC2154 # the names of yyjson.sh

# In this version Debian changed the packaging alone.
readonly kYyjsonUnchanged=0.10.0+ds-1

# What is built for, and what CMake is told of it.
target=
target_options=()

target_prefix() { "${target}_prefix"; }

# Of what users get on Linux; cmake/TavoDependencies.cmake computes the same folder.
package_prefix() { printf '%s\n' "$(cache_dir)/package/gcc-$(gcc -dumpversion)"; }

# installed_version PACKAGE: what this machine has of it.
installed_version() { dpkg-query -W -f='${source:Version}\n' "$1" | head -n 1; }

build_jobs() { printf '%s\n' "${TAVO_JOBS:-$(nproc)}"; }

die_with_log()
{
    tail -n 40 "$1" >&2
    die "$2"
}

# get_source FOLDER NAME: the release's source of that name, with Debian's changes, in FOLDER/NAME.
get_source()
{
    fetch_debian_source "$1" "$(debian_codename)" "$2"
    unpack_debian_source "$1" "$2"
}

# cmake_for_target FOLDER NAME ARGUMENTS...: configures FOLDER/NAME, builds and installs. The prefix that
# some libraries compile in is not the one that they are installed to, and no path of this machine is
# to be in what they hold.
cmake_for_target()
{
    local folder=$1 name=$2 flags="-O2 -ffile-prefix-map=$1=."
    shift 2
    if ! {
        cmake -S "$folder/$name" -B "$folder/$name-build" -G Ninja --log-level=WARNING -Wno-dev \
            "${target_options[@]}" -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_C_FLAGS_RELEASE=-DNDEBUG \
            -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG -DBUILD_SHARED_LIBS=OFF \
            -DCMAKE_INSTALL_PREFIX=/tavo "$@" \
            && cmake --build "$folder/$name-build" -j "$(build_jobs)" \
            && cmake --install "$folder/$name-build" --prefix "$(target_prefix)"
    } >"$folder/$name.log" 2>&1; then
        die_with_log "$folder/$name.log" "$name could not be built"
    fi
}

build_curl()
{
    local folder=$1
    get_source "$folder" curl
    # OpenSSL and not Schannel, as on Linux: one library checks certificates on both. The authorities
    # are looked for when it runs: each distribution has them elsewhere.
    cmake_for_target "$folder" curl -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DHTTP_ONLY=ON \
        -DCURL_USE_OPENSSL=ON -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF \
        -DUSE_LIBIDN2=OFF -DCURL_USE_LIBSSH2=OFF -DCURL_USE_LIBPSL=OFF -DUSE_NGHTTP2=OFF \
        -DCURL_CA_BUNDLE=none -DCURL_CA_PATH=none
}

build_yyjson()
{
    local folder=$1
    if [ "$(installed_version libyyjson-dev)" = "$kYyjsonUnchanged" ]; then
        fetch_debian_tarball "$folder" "$kYyjsonSuite" "yyjson=$kYyjsonUnchanged"
    else
        fetch_debian_source "$folder" "$kYyjsonSuite" yyjson
    fi
    unpack_debian_source "$folder" yyjson
    cmake_for_target "$folder" yyjson
}

# build_noting_age FOLDER NAME: NAME as build_NAME builds it. A file version/NAME says which it is of
# Debian's sources, and behind/NAME where it is not the newest: tests may be built with it, and
# cmake/TavoPackage.cmake makes no package of it.
build_noting_age()
{
    local kind
    "build_$2" "$1"
    for kind in version behind; do
        rm -f "$(target_prefix)/$kind/$2"
        if [ -f "$1/$kind" ]; then
            mkdir -p "$(target_prefix)/$kind"
            cp "$1/$kind" "$(target_prefix)/$kind/$2"
        fi
    done
}

warn_of_age()
{
    local note
    for note in "$(target_prefix)"/behind/*; do
        [ ! -f "$note" ] || warn "$(cat "$note"). The tests are built with it, and no package for users." \
            "To try again: rm $(target_prefix)/built/$(basename "$note"); scripts/setup.sh $target"
    done
}

# install_library NAME VERSION: NAME as build_NAME builds it, unless that was done already for this
# version. VERSION also names the recipe where the function has changed, so that no cache keeps what the
# old one built.
install_library()
{
    local stamp
    stamp=$(target_prefix)/built/$1
    if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$2" ]; then
        return
    fi
    say "Building $1 into $(target_prefix)"
    rm -f "$stamp"
    mkdir -p "$(target_prefix)"/{built,include,lib/cmake,lib/pkgconfig,bin}
    with_scratch build_noting_age "$1"
    printf '%s\n' "$2" >"$stamp"
}

# install_described_libraries CMAKE-ARGUMENT...: builds into the cache what it does not have yet of what
# cmake/TavoLibraries.cmake describes, for that target.
install_described_libraries() { with_scratch build_described_libraries "$@"; }

build_described_libraries()
{
    local folder=$1
    shift
    cmake -S "$(repo_dir)/cmake/libraries" -B "$folder" -G Ninja --no-warn-unused-cli \
        -DFETCH="$(repo_dir)/scripts/lib/fetch_source.sh" "$@" >"$folder/log" \
        || { cat "$folder/log" >&2; die "the libraries could not be configured"; }
    sed -n 's/^-- \(Building .* into .*\)/\1/p' "$folder/log"
    # One after the other: each takes all processors.
    cmake --build "$folder" -j 1 >"$folder/log" || die_with_log "$folder/log" "the libraries could not be built"
}

# OpenSSL comes from the distribution's own archive, which is position independent.
install_package_libraries()
{
    target=package
    target_options=(-DCMAKE_POSITION_INDEPENDENT_CODE=ON -DCMAKE_C_VISIBILITY_PRESET=hidden
        -DOPENSSL_USE_STATIC_LIBS=ON)
    install_packages patch
    install_library yyjson "$(installed_version libyyjson-dev)"
    install_library curl "$(installed_version libcurl4-openssl-dev)"
    warn_of_age
}
