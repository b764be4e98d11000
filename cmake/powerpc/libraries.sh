#!/usr/bin/env bash
# Builds for PowerPC, from Debian's sources, the libraries that the desk has as packages:
#
#   libraries.sh FOLDER
#
# FOLDER/root receives them. What is there from an earlier run, by the same recipe, is kept.
set -euo pipefail

here=$(dirname "$(realpath "$0")")
folder=$(mkdir -p "$1" && realpath "$1")
root=$folder/root
jobs=$(nproc)

fail() {
    echo "libraries.sh: $*" >&2
    exit 1
}

# apt with lists of its own: the machine's source entries, asked for sources, leave the machine as it is.
apt_folder=$folder/apt
apt_options=(-q -o Dir::State="$apt_folder/state" -o Dir::Cache="$apt_folder/cache"
    -o Dir::Etc::SourceList="$apt_folder/sources.list" -o Dir::Etc::SourceParts=/dev/null)

prepare_apt() {
    [ ! -s "$apt_folder/sources.list" ] || return 0
    mkdir -p "$apt_folder/state/lists/partial" "$apt_folder/cache/archives/partial"
    # The release without its updates: these libraries serve tests, and are the same every day.
    apt-get indextargets --format 'deb-src $(SITE) $(RELEASE) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' | grep -E '^deb-src [^ ]+ [a-z]+ ' | sort -u \
        > "$apt_folder/sources.new" || true
    [ -s "$apt_folder/sources.new" ] || fail "apt-get knows no Debian source here"
    cp "$apt_folder/sources.new" "$apt_folder/sources.list"
    apt-get "${apt_options[@]}" update ||
        { rm "$apt_folder/sources.list"; fail "apt-get update failed: see above"; }
}

# Unpacks a source package with Debian's patches. Its folder: $folder/src/PACKAGE.
fetch() {
    local package=$1
    prepare_apt
    rm -rf "$folder/src/$package"
    mkdir -p "$folder/src/$package/download"
    (cd "$folder/src/$package/download" &&
        apt-get "${apt_options[@]}" source --only-source "$package") ||
        fail "the sources of $package cannot be fetched: see above"
    mv "$folder/src/$package/download"/*/ "$folder/src/$package/tree"
}

build_with_cmake() {
    local source=$1 build=$2
    shift 2
    cmake -S "$source" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" \
        -DGPON_POWERPC_ROOT="$root" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$root" \
        -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_INSTALL_RPATH="$root/lib" "$@"
    cmake --build "$build" --parallel "$jobs"
    cmake --install "$build"
}

# OpenSSL has its own build. Only libcrypto, with what AES needs.
build_openssl() {
    cd "$1"
    ./Configure linux-ppc --cross-compile-prefix=powerpc-linux-gnu- --prefix="$root" --libdir=lib \
        no-asm no-engine no-module no-tests no-legacy no-dso no-cmp no-cms no-ct no-ec no-ocsp no-rfc3779 no-srp \
        no-srtp no-ts no-aria no-camellia no-cast no-idea no-seed no-sm2 no-sm3 no-sm4 no-whirlpool
    make -j"$jobs" build_generated
    make -j"$jobs" libcrypto.so libcrypto.a libcrypto.pc libssl.pc openssl.pc
    install -d "$root/include" "$root/lib/pkgconfig"
    cp -a include/openssl "$root/include/"
    cp -a libcrypto.so* "$root/lib/"
    cp -a libcrypto.pc "$root/lib/pkgconfig/"
}

# The library stands in a folder of its source package. Debian's patches want XML_DTD to be a number, which
# its CMake files do not make it; nothing here reads document types.
build_expat() {
    build_with_cmake "$1/expat" "$1/build" -DEXPAT_DTD=OFF -DEXPAT_BUILD_TOOLS=OFF \
        -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF
}

# The library's CMake files stand in a folder of its source package.
build_zstd() {
    build_with_cmake "$1/build/cmake" "$1/build-library" -DZSTD_BUILD_PROGRAMS=OFF -DZSTD_BUILD_TESTS=OFF \
        -DZSTD_BUILD_STATIC=OFF -DZSTD_MULTITHREAD_SUPPORT=OFF
}

# Of all formats and filters, tar and Zstandard.
build_libarchive() {
    local off=() feature
    for feature in TEST TAR CPIO CAT UNZIP OPENSSL LIBB2 LZ4 LZO LZMA ZLIB BZip2 LIBXML2 EXPAT PCREPOSIX PCRE2POSIX LIBGCC \
        CNG ACL XATTR ICONV NETTLE; do
        off+=("-DENABLE_$feature=OFF")
    done
    build_with_cmake "$1" "$1/../build" "${off[@]}" -DENABLE_ZSTD=ON -DENABLE_WERROR=OFF -DENABLE_INSTALL=ON
}

# Runs a recipe once; its last words tell what went wrong.
once() {
    local name=$1 done=$folder/done.$1
    shift
    if [ -f "$done" ] && [ "$(cat "$done")" = "$(declare -f "$1") $*" ]; then
        return
    fi
    echo "libraries.sh: building $name for PowerPC"
    ("$@") > "$folder/$name.log" 2>&1 || {
        tail -40 "$folder/$name.log" >&2
        fail "$name was not built; the log is $folder/$name.log"
    }
    echo "$(declare -f "$1") $*" > "$done"
}

from_debian() {
    local package=$1 recipe=$2
    shift 2
    fetch "$package"
    "$recipe" "$folder/src/$package/tree" "$@"
}

cmake_package() {
    local package=$1
    shift
    from_debian "$package" build_with_cmake "$folder/src/$package/build" "$@"
}

once pcre2 cmake_package pcre2 -DBUILD_SHARED_LIBS=ON -DBUILD_STATIC_LIBS=OFF -DPCRE2_SUPPORT_JIT=OFF \
    -DPCRE2_BUILD_TESTS=OFF -DPCRE2_BUILD_PCRE2GREP=OFF
once libyang2 cmake_package libyang2 -DENABLE_TESTS=OFF -DENABLE_VALGRIND_TESTS=OFF
once openssl from_debian openssl build_openssl
once expat from_debian expat build_expat
# The parser alone.
once libxml2 cmake_package libxml2 -DLIBXML2_WITH_PROGRAMS=OFF -DLIBXML2_WITH_TESTS=OFF -DLIBXML2_WITH_PYTHON=OFF \
    -DLIBXML2_WITH_ICONV=OFF -DLIBXML2_WITH_LZMA=OFF -DLIBXML2_WITH_ZLIB=OFF -DLIBXML2_WITH_HTTP=OFF \
    -DLIBXML2_WITH_FTP=OFF
once fmt cmake_package fmtlib -DFMT_TEST=OFF -DFMT_DOC=OFF
once spdlog cmake_package spdlog -DSPDLOG_FMT_EXTERNAL=ON -DSPDLOG_BUILD_EXAMPLE=OFF
once pugixml cmake_package pugixml -DBUILD_SHARED_LIBS=ON
once zstd from_debian libzstd build_zstd
once libarchive from_debian libarchive build_libarchive
once json cmake_package nlohmann-json3 -DJSON_BuildTests=OFF
once cli11 cmake_package cli11 -DCLI11_BUILD_TESTS=OFF -DCLI11_BUILD_EXAMPLES=OFF -DCLI11_BUILD_DOCS=OFF
once googletest build_with_cmake /usr/src/googletest "$folder/src/googletest/build"
