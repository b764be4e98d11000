#!/usr/bin/env bash
# Debian's own checker finds no error in the packages, their files have the usual modes, their programs and
# libraries are built as they should be, and building them again, in another folder and with another umask,
# gives the same files, byte for byte.
#
# usage: check_packages.sh BUILD SCRATCH
#
# BUILD holds the packages, built by the preset of the folder's name from what git knows; SCRATCH is emptied first.
set -euo pipefail

here=$(dirname "$(realpath "$0")")
build=$(realpath "$1")
preset=$(basename "$build")
rm -rf "$2"
scratch=$(mkdir -p "$2" && realpath "$2")

fail() {
    echo "check_packages: $*" >&2
    exit 1
}

lintian --fail-on error "$build"/packages/*.deb || fail "lintian found errors: see above"

for package in "$build"/packages/*.deb; do
    odd=$(dpkg-deb --contents "$package" | grep -vE '^(-rw-r--r--|[d-]rwxr-xr-x|lrwxrwxrwx) root/root ' || true)
    [ -z "$odd" ] || fail "$package has modes or owners of its own: $odd"
    dpkg-deb --extract "$package" "$scratch/installed"
done
"$here/binaries.py" --installed "$scratch/installed"
# From 0, shut off, to 100, which may do all.
systemd-analyze security --offline=true --threshold=20 \
    "$scratch/installed/usr/lib/systemd/system/gpon-twin@.service" > "$scratch/security" ||
    { cat "$scratch/security" >&2; fail "the service may do more than it needs"; }

echo "check_packages: building the packages again"
umask 077
sources=$scratch/a/folder/of/another/length
mkdir -p "$sources"
cd "$here/../.."
git ls-files -z | tar --create --null --files-from - | tar --extract --no-same-permissions --directory "$sources"
echo "gitdir: $(git rev-parse --absolute-git-dir)" > "$sources/.git"
cd "$sources"
{
    cmake --preset "$preset" -DGPON_TESTS=OFF -DGPON_BENCH=OFF -DGPON_TWIN=ON
    cmake --build --preset "$preset" --target gpon-validate gpon-twin gpon-shell
    cd "build/$preset"
    cpack
} > "$scratch/log" 2>&1 || { tail -20 "$scratch/log" >&2; fail "building again failed: see above"; }
for package in "$build"/packages/*.deb; do
    cmp "$package" "packages/$(basename "$package")" || fail "the same sources gave another package"
done
echo "check_packages: no errors, and the same again when built elsewhere."
