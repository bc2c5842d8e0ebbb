# shellcheck shell=bash
# The libraries of the Windows build, cross-built as static libraries into one folder of the cache
# per compiler, where cmake/windows.cmake finds them. Each is built from Debian's source of the
# package that the Linux build uses; it is built anew where that package's version changed.
# Needs common.sh, apt.sh, debian_source.sh, yyjson.sh, mpack.sh.
# shellcheck disable=SC2154 # the names of the last two

readonly kWindowsPackages=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 libz-mingw-w64-dev
    wine64 clang patch perl make tcl)
readonly kMingw=x86_64-w64-mingw32
# In this version Debian changed the packaging alone.
readonly kYyjsonUnchanged=0.10.0+ds-1

windows_prefix()
{
    printf '%s\n' "$(cache_dir)/windows/gcc-$("$kMingw-gcc-posix" -dumpversion)"
}

# installed_version PACKAGE: what the Linux build has of it.
# The Windows build follows it: it is built anew from the release's sources when that changes.
installed_version() { dpkg-query -W -f='${source:Version}\n' "$1" | head -n 1; }

# No path of this machine is to be in what the libraries hold.
windows_compile_flags() { printf '%s\n' "-O2 -ffile-prefix-map=$1=."; }

# cmake_for_windows FOLDER NAME TARGET ARGUMENTS...: configures FOLDER/NAME, builds the target and
# installs. The prefix that some libraries compile in is not the one that they are installed to.
cmake_for_windows()
{
    local folder=$1 name=$2 target=$3 flags
    shift 3
    flags=$(windows_compile_flags "$folder")
    if ! {
        cmake -S "$folder/$name" -B "$folder/$name-build" -G Ninja --log-level=WARNING -Wno-dev \
            --toolchain "$(repo_dir)/cmake/windows.cmake" -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_C_FLAGS_RELEASE=-DNDEBUG \
            -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG -DBUILD_SHARED_LIBS=OFF \
            -DCMAKE_INSTALL_PREFIX=/tavo "$@" \
            && cmake --build "$folder/$name-build" -j "$(build_jobs)" --target "$target" \
            && cmake --install "$folder/$name-build" --prefix "$(windows_prefix)"
    } >"$folder/$name.log" 2>&1; then
        die_with_log "$folder/$name.log" "$name could not be built for Windows"
    fi
}

# get_source FOLDER NAME: the release's source of that name, with Debian's changes, in FOLDER/NAME.
get_source()
{
    fetch_debian_source "$1" "$(debian_codename)" "$2"
    unpack_debian_source "$1" "$2"
}

build_jobs() { printf '%s\n' "${TAVO_JOBS:-$(nproc)}"; }

die_with_log()
{
    tail -n 40 "$1" >&2
    die "$2"
}

build_windows_openssl()
{
    local folder=$1
    get_source "$folder" openssl
    # no-atexit: the process would call what the library may have taken along when it was unloaded.
    # The default folders and these flags are compiled in: nothing of this machine, and no folder in
    # which somebody could put a configuration for the server's process.
    (cd "$folder/openssl" && unset CROSS_COMPILE \
        && CC="$kMingw-gcc-posix" AR="$kMingw-ar" RANLIB="$kMingw-ranlib" RC="$kMingw-windres" \
            perl ./Configure mingw64 --libdir=lib --prefix=/ \
            --openssldir="C:/Program Files/Common Files/SSL" \
            no-shared no-tests no-engine no-legacy no-dso no-comp no-ui-console no-atexit \
            -D_WIN32_WINNT=0x0A00 \
        && make -j "$(build_jobs)" build_libs \
        && make DESTDIR="$folder/installed" install_dev) >"$folder/openssl.log" 2>&1 \
        || die_with_log "$folder/openssl.log" "OpenSSL could not be built for Windows"
    # Its pkg-config files name a prefix that is not where it goes; CMake's own search needs none.
    cp -r "$folder/installed/include" "$(windows_prefix)/"
    cp "$folder/installed/lib/"*.a "$(windows_prefix)/lib/"
}

build_windows_curl()
{
    local folder=$1
    get_source "$folder" curl
    # OpenSSL and not Schannel, as on Linux: one library checks certificates on both.
    cmake_for_windows "$folder" curl all -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DHTTP_ONLY=ON \
        -DCURL_USE_OPENSSL=ON -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF \
        -DUSE_LIBIDN2=OFF -DCURL_USE_LIBSSH2=OFF -DCURL_USE_LIBPSL=OFF -DUSE_NGHTTP2=OFF \
        -DCURL_CA_BUNDLE=none -DCURL_CA_PATH=none
}

build_windows_yyjson()
{
    local folder=$1
    if [ "$(installed_version libyyjson-dev)" = "$kYyjsonUnchanged" ]; then
        fetch_debian_tarball "$folder" "$kYyjsonSuite" "yyjson=$kYyjsonUnchanged"
    else
        fetch_debian_source "$folder" "$kYyjsonSuite" yyjson
    fi
    unpack_debian_source "$folder" yyjson
    cmake_for_windows "$folder" yyjson all
}

# As C++: as C it would define inline functions anew in each object that includes its header.
build_windows_mpack()
{
    local folder=$1
    fetch_mpack_source "$folder"
    "$kMingw-g++-posix" -x c++ -std=c++20 -O2 "-ffile-prefix-map=$folder=." \
        -c "$folder/source/mpack.c" -o "$folder/mpack.o" || die "MPack does not compile for Windows"
    "$kMingw-ar" rcs "$(windows_prefix)/lib/libmpack.a" "$folder/mpack.o"
    cp "$folder/source/mpack.h" "$(windows_prefix)/include/"
}

build_windows_googletest()
{
    cp -r /usr/src/googletest "$1/googletest"
    cmake_for_windows "$1" googletest all
}

build_windows_qt()
{
    local folder=$1
    get_source "$folder" qt6-base
    local features=() feature
    for feature in gui network sql xml widgets dbus testlib concurrent printsupport \
        androiddeployqt windeployqt icu glib system_zlib zstd; do
        features+=("-DQT_FEATURE_$feature=OFF")
    done
    cmake_for_windows "$folder" qt6-base all -DQT_HOST_PATH=/usr \
        -DQT_HOST_PATH_CMAKE_DIR="/usr/lib/$(gcc -print-multiarch)/cmake" -DQT_BUILD_EXAMPLES=OFF \
        -DQT_BUILD_TESTS=OFF "${features[@]}"
    # An export of its own in a directive for the linker would leave the library with the plugin's.
    "$kMingw-objcopy" -R .drectve "$(windows_prefix)/lib/libQt6Core.a"
}

# One file of C, which its own tools make for the machine that it is built on.
build_windows_sqlite()
{
    local folder=$1
    get_source "$folder" sqlite3
    mkdir "$folder/build"
    (cd "$folder/build" && ../sqlite3/configure --disable-tcl --disable-readline \
        && make -j "$(build_jobs)" sqlite3.c sqlite3.h) >"$folder/sqlite.log" 2>&1 \
        || die_with_log "$folder/sqlite.log" "SQLite's one file could not be made"
    "$kMingw-gcc-posix" -O2 -DNDEBUG "-ffile-prefix-map=$folder=." -DSQLITE_OMIT_LOAD_EXTENSION \
        -c "$folder/build/sqlite3.c" -o "$folder/sqlite.o" || die "SQLite does not compile for Windows"
    "$kMingw-ar" rcs "$(windows_prefix)/lib/libsqlite3.a" "$folder/sqlite.o"
    cp "$folder/build/sqlite3.h" "$(windows_prefix)/include/"
}

# The tar that Windows brings and Wine does not; only the tests' Wine prefix gets it.
build_windows_bsdtar()
{
    local folder=$1
    get_source "$folder" libarchive
    # What it would find out by running a program, which CMake cannot here.
    cmake_for_windows "$folder" libarchive all -DZLIB_WINAPI_EXITCODE=1 \
        -DZLIB_WINAPI_EXITCODE__TRYRUN_OUTPUT=none -DZLIB_LIBRARY="/usr/$kMingw/lib/libz.a" \
        -DENABLE_TEST=OFF -DENABLE_CPIO=OFF -DENABLE_CAT=OFF -DENABLE_OPENSSL=OFF
}

# What is all header: copied, so that no folder of the Linux build need be searched.
build_windows_headers()
{
    cp /usr/include/SimpleIni.h "$(windows_prefix)/include/"
    cp -r /usr/include/CLI "$(windows_prefix)/include/"
    cp -r /usr/share/cmake/CLI11 "$(windows_prefix)/lib/cmake/"
}

# All header in its source; Debian's package splits it into a header and a library.
build_windows_httplib()
{
    local folder=$1
    get_source "$folder" cpp-httplib
    cp "$folder/cpp-httplib/httplib.h" "$(windows_prefix)/include/"
    cat >"$(windows_prefix)/lib/pkgconfig/cpp-httplib.pc" <<END
Name: cpp-httplib
Description: HTTP and HTTPS server and client, all header
Version: $(installed_version libcpp-httplib-dev)
Cflags: -I$(windows_prefix)/include -DCPPHTTPLIB_OPENSSL_SUPPORT
Libs: -L$(windows_prefix)/lib -lssl -lcrypto -lws2_32 -lcrypt32
END
}

# build_noting_age FOLDER NAME: NAME as build_windows_NAME builds it. A file behind/NAME says where it is
# not the newest: tests may be built with it, and cmake/TavoPackage.cmake makes no package of it.
build_noting_age()
{
    local note
    note=$(windows_prefix)/behind/$2
    rm -f "$note"
    "build_windows_$2" "$1"
    if [ -f "$1/behind" ]; then
        mkdir -p "$(dirname "$note")"
        cp "$1/behind" "$note"
    fi
}

warn_of_age()
{
    local note
    for note in "$(windows_prefix)"/behind/*; do
        [ ! -f "$note" ] || warn "$(cat "$note"). The tests are built with it, and no package for users." \
            "To try again: rm $(windows_prefix)/built/$(basename "$note"); scripts/setup.sh windows"
    done
}

# install_for_windows NAME VERSION: NAME as build_windows_NAME builds it, unless that was done
# already for this version. VERSION also names the recipe where the function has changed, so that no
# cache keeps what the old one built.
install_for_windows()
{
    local stamp
    stamp=$(windows_prefix)/built/$1
    if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$2" ]; then
        return
    fi
    say "Building $1 for Windows into $(windows_prefix)"
    rm -f "$stamp"
    mkdir -p "$(windows_prefix)"/{built,include,lib/cmake,lib/pkgconfig,bin}
    with_scratch build_noting_age "$1"
    printf '%s\n' "$2" >"$stamp"
}

install_windows()
{
    install_packages "${kWindowsPackages[@]}"
    install_for_windows headers \
        "$(installed_version libsimpleini-dev), $(installed_version libcli11-dev)"
    install_for_windows mpack "$kMpackSource"
    install_for_windows yyjson "$(installed_version libyyjson-dev)"
    install_for_windows googletest "$(installed_version googletest)"
    install_for_windows httplib "$(installed_version libcpp-httplib-dev)"
    install_for_windows openssl "$(installed_version libssl-dev), no-atexit, Debian's changes"
    install_for_windows curl "$(installed_version libcurl4-openssl-dev)"
    install_for_windows qt "$(installed_version qt6-base-dev), neutral prefix"
    install_for_windows sqlite "$(installed_version libsqlite3-dev)"
    install_for_windows bsdtar "$(installed_version libarchive13)"
    warn_of_age
}
