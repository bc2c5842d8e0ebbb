# shellcheck shell=bash
# MPack. Debian has no package of it, but the source of one that carries it: that source is fetched
# from Debian, checked, and its MPack compiled into the cache as a library of its own.
# cmake/FindMPack.cmake finds it there. Needs common.sh, apt.sh,
# debian_source.sh and a C compiler.

readonly kMpackSource=balboa=2.0.0+ds-5
readonly kMpackSuite=bookworm
readonly kMpackTarball=balboa_2.0.0+ds.orig.tar.xz
readonly kMpackSha256=32889196860b8af002d9e628779a53432e31c29fc578f816cabd7f63d52c0e33

mpack_is_on_system()
{
    printf '#include <mpack.h>\nint main(void) { return mpack_tag_nil().type == mpack_type_str; }\n' \
        | gcc -x c - -I/usr/include/mpack -I/usr/local/include/mpack -lmpack -o /dev/null 2>/dev/null
}

# mpack_is_built NAME: whether the cache has it under that name.
mpack_is_built()
{
    [ -f "$(cache_dir)/$1/include/mpack.h" ] && [ -f "$(cache_dir)/$1/lib/libmpack.a" ]
}

# fetch_mpack_source FOLDER: the checked source in FOLDER/source.
fetch_mpack_source()
{
    local folder=$1
    fetch_debian_tarball "$folder" "$kMpackSuite" "$kMpackSource"
    file_has_sha256 "$folder/$kMpackTarball" "$kMpackSha256" \
        || die "$kMpackTarball is not the file that was expected; nothing was built from it"
    mkdir -p "$folder/source"
    tar -xJf "$folder/$kMpackTarball" -C "$folder/source" --strip-components=3 --wildcards \
        '*/backend/lib/mpack.[ch]' || die "$kMpackTarball holds no MPack"
}

# compile_mpack FOLDER NAME COMPILER OPTION...: fetches and compiles in FOLDER, then renames the result
# into the cache under NAME.
# Built in its default configuration, which is also the one that mpack.h takes on its own.
compile_mpack()
{
    local folder=$1 name=$2 built=$1/mpack
    shift 2
    fetch_mpack_source "$folder"
    mkdir -p "$built/include" "$built/lib"
    "$@" -std=c11 -g -fPIC -fvisibility=hidden -c "$folder/source/mpack.c" \
        -o "$folder/mpack.o" || die "MPack does not compile"
    ar rcs "$built/lib/libmpack.a" "$folder/mpack.o"
    cp "$folder/source/mpack.h" "$built/include/"
    rm -rf "$(cache_dir)/${name:?}"
    mv -T "$built" "$(cache_dir)/$name"
}

install_mpack()
{
    if mpack_is_built mpack || mpack_is_on_system; then
        return
    fi
    say "Building MPack into $(cache_dir)/mpack"
    with_scratch compile_mpack mpack gcc -O2
}

# For the fuzz targets, whose engine is to see into it and whose sanitizers are to watch it.
install_mpack_for_fuzzing()
{
    if mpack_is_built mpack-fuzz; then
        return
    fi
    say "Building MPack for fuzzing into $(cache_dir)/mpack-fuzz"
    with_scratch compile_mpack mpack-fuzz clang -O1 -fno-omit-frame-pointer \
        -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
}
