#!/usr/bin/env bash
# Installs the Debian packages that are missing: install-deps.sh [GROUP...], the groups are those below.
set -euo pipefail

build_packages=(make g++ cmake ninja-build pkg-config libyang2-dev libspdlog-dev libcli11-dev
    nlohmann-json3-dev libssl-dev libgtest-dev libgmock-dev libbenchmark-dev python3)
powerpc_packages=(g++-powerpc-linux-gnu qemu-user dpkg-dev perl googletest)
packages_packages=(dpkg-dev file)
test_packages_packages=(debootstrap)
format_packages=(clang-format)
lint_packages=(clang-tidy cppcheck)
plot_packages=(gnuplot-nox)

fail() {
    echo "install-deps: $*" >&2
    exit 1
}

wanted=()
for group in "${@:-build}"; do
    case $group in
    build) wanted+=("${build_packages[@]}") ;;
    format) wanted+=("${format_packages[@]}") ;;
    lint) wanted+=("${lint_packages[@]}") ;;
    powerpc) wanted+=("${powerpc_packages[@]}") ;;
    packages) wanted+=("${packages_packages[@]}") ;;
    test-packages) wanted+=("${test_packages_packages[@]}") ;;
    plot) wanted+=("${plot_packages[@]}") ;;
    *) fail "unknown group $group; there are build, format, lint, plot, powerpc, packages and test-packages" ;;
    esac
done

if ! command -v dpkg-query >/dev/null; then
    echo "install-deps: this is no Debian; what these packages hold must be there: ${wanted[*]}" >&2
    exit 0
fi

# dpkg-query fails for a package that it does not know: that one is missing, like one removed.
installed=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null || true)
missing=()
for package in "${wanted[@]}"; do
    grep -qxF "$package installed" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "install-deps: installing ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
        fail "not root, and there is no sudo; as root, run: apt-get install ${missing[*]}"
    as_root=(sudo)
fi
apt_get=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
"${apt_get[@]}" update || fail "apt-get update failed: see above"
"${apt_get[@]}" install -y --no-install-recommends "${missing[@]}" ||
    fail "apt-get could not install ${missing[*]}: see above"
