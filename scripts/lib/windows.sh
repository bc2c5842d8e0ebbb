# shellcheck shell=bash
# The libraries of the Windows build, which cmake/windows.cmake finds in the cache. Needs common.sh,
# apt.sh, debian_source.sh, mpack.sh, libraries.sh.
# shellcheck disable=SC2154 # the names of mpack.sh

readonly kWindowsPackages=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 libz-mingw-w64-dev
    wine64 clang patch perl make tcl)
readonly kMingw=x86_64-w64-mingw32

windows_prefix()
{
    printf '%s\n' "$(cache_dir)/windows/gcc-$("$kMingw-gcc-posix" -dumpversion)"
}

build_openssl()
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

# As C++: as C it would define inline functions anew in each object that includes its header.
build_mpack()
{
    local folder=$1
    fetch_mpack_source "$folder"
    "$kMingw-g++-posix" -x c++ -std=c++20 -O2 "-ffile-prefix-map=$folder=." \
        -c "$folder/source/mpack.c" -o "$folder/mpack.o" || die "MPack does not compile for Windows"
    "$kMingw-ar" rcs "$(windows_prefix)/lib/libmpack.a" "$folder/mpack.o"
    cp "$folder/source/mpack.h" "$(windows_prefix)/include/"
}

build_googletest()
{
    cp -r /usr/src/googletest "$1/googletest"
    cmake_for_target "$1" googletest
}

build_qt()
{
    local folder=$1
    get_source "$folder" qt6-base
    local features=() feature
    for feature in gui network sql xml widgets dbus testlib concurrent printsupport \
        androiddeployqt windeployqt icu glib system_zlib zstd; do
        features+=("-DQT_FEATURE_$feature=OFF")
    done
    cmake_for_target "$folder" qt6-base -DQT_HOST_PATH=/usr \
        -DQT_HOST_PATH_CMAKE_DIR="/usr/lib/$(gcc -print-multiarch)/cmake" -DQT_BUILD_EXAMPLES=OFF \
        -DQT_BUILD_TESTS=OFF "${features[@]}"
    # An export of its own in a directive for the linker would leave the library with the plugin's.
    "$kMingw-objcopy" -R .drectve "$(windows_prefix)/lib/libQt6Core.a"
}

# One file of C, which its own tools make for the machine that it is built on.
build_sqlite()
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
build_bsdtar()
{
    local folder=$1
    get_source "$folder" libarchive
    # What it would find out by running a program, which CMake cannot here.
    cmake_for_target "$folder" libarchive -DZLIB_WINAPI_EXITCODE=1 \
        -DZLIB_WINAPI_EXITCODE__TRYRUN_OUTPUT=none -DZLIB_LIBRARY="/usr/$kMingw/lib/libz.a" \
        -DENABLE_TEST=OFF -DENABLE_CPIO=OFF -DENABLE_CAT=OFF -DENABLE_OPENSSL=OFF
}

# What is all header: copied, so that no folder of the Linux build need be searched.
build_headers()
{
    cp /usr/include/SimpleIni.h "$(windows_prefix)/include/"
    cp -r /usr/include/CLI "$(windows_prefix)/include/"
    cp -r /usr/share/cmake/CLI11 "$(windows_prefix)/lib/cmake/"
}

# All header in its source; Debian's package splits it into a header and a library.
build_httplib()
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

install_windows()
{
    # shellcheck disable=SC2034 # read in libraries.sh
    target=windows
    # shellcheck disable=SC2034
    target_options=(--toolchain "$(repo_dir)/cmake/windows.cmake")
    install_packages "${kWindowsPackages[@]}"
    install_library headers \
        "$(installed_version libsimpleini-dev), $(installed_version libcli11-dev)"
    install_library mpack "$kMpackSource"
    install_library yyjson "$(installed_version libyyjson-dev)"
    install_library googletest "$(installed_version googletest)"
    install_library httplib "$(installed_version libcpp-httplib-dev)"
    install_library openssl "$(installed_version libssl-dev), no-atexit, Debian's changes"
    install_library curl "$(installed_version libcurl4-openssl-dev)"
    install_library qt "$(installed_version qt6-base-dev), neutral prefix"
    install_library sqlite "$(installed_version libsqlite3-dev)"
    install_library bsdtar "$(installed_version libarchive13)"
    warn_of_age
}
