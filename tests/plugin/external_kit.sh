#!/usr/bin/env bash
# The plug-in builds against a device's own kit, without the equivalents in this repository: twice, in two
# folders, from nothing but its sources, against headers and stub libraries that stand elsewhere. It asks the
# kit for no name that is not known to be there, it exports what it publishes, and both builds are the same
# file, byte for byte.
#
# usage: external_kit.sh SOURCES BUILD SCRATCH CC NM [CMAKE_OPTION...]
#
# BUILD is a finished build of everything, whose kit is installed; SCRATCH is emptied first.
set -euo pipefail

here=$(dirname "$(realpath "$0")")
sources=$1 build=$2 scratch=$3 cc=$4 nm=$5
shift 5

run() {
    "$@" > "$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
}

rm -rf "$scratch"
mkdir -p "$scratch"
run cmake --install "$build" --component kit --prefix "$scratch/kit"

# A stub has the names of the library, and nothing behind them.
for library in "$scratch"/kit/lib/lib*.so; do
    "$nm" --dynamic --defined-only --format=posix "$library" | cut -d' ' -f1 |
        sed 's/.*/.globl "&"\n"&":/' > "$scratch/stub.s"
    run "$cc" -shared -nostdlib -Wl,-soname,"$(basename "$library")" "$scratch/stub.s" -o "$library"
done

for place in one two/further/away; do
    mkdir -p "$scratch/$place/src"
    cp -r "$sources/CMakeLists.txt" "$sources/cmake" "$scratch/$place"
    cp -r "$sources/src/validation" "$scratch/$place/src"
    run cmake -G Ninja -S "$scratch/$place" -B "$scratch/$place/build" "$@" \
        -DGPON_PLATFORM_INCLUDE="$scratch/kit/include" -DGPON_PLATFORM_LIB="$scratch/kit/lib"
    run cmake --build "$scratch/$place/build"
done
"$here/../packages/binaries.py" --build "$scratch/one/build"
library=$scratch/one/build/lib/libgpon_card_valid.so
cmp "$library" "$scratch/two/further/away/build/lib/libgpon_card_valid.so"

# What has a version is of the C and C++ run-time; weak names may be missing.
wanted=$("$nm" --dynamic --undefined-only --demangle "$library" | sed -n 's/^ *U //p' |
    grep -vE '@(GLIBC|GLIBCXX|CXXABI|GCC)_' | LC_ALL=C sort)
known=$(grep -v '^#' "$here/platform_symbols.txt" | grep . | LC_ALL=C sort)
if ! diff -u --label platform_symbols.txt <(echo "$known") --label "wanted by the plug-in" <(echo "$wanted"); then
    echo "The names that the plug-in wants of a kit are not those that are known."
    exit 1
fi
echo "$(echo "$wanted" | wc -l) names are wanted of the kit, all known."

"$here/exports.sh" "$nm" "$library" "$sources/src/validation/exports.map"
