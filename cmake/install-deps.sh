#!/usr/bin/env bash
# Installs the Debian packages that are missing: install-deps.sh [GROUP...], the groups are those below.
set -euo pipefail

declare -A groups=(
    [program]="make g++ cmake ninja-build pkg-config libyang2-dev libspdlog-dev libcli11-dev nlohmann-json3-dev
        libssl-dev libexpat1-dev libxml2-dev libpugixml-dev libarchive-dev"
    [tests]="libgtest-dev libgmock-dev libbenchmark-dev python3 python3-jsonschema
        libxml2-utils xsltproc zstd"
    [twin]="libnetconf2-dev libssh-dev libsqlite3-dev libsqlitecpp-dev libyuma-base libedit-dev python3-ncclient
        python3-pexpect openssh-client"
    [test-ansible]="ansible python3-ncclient"
    [powerpc]="g++-powerpc-linux-gnu qemu-user dpkg-dev perl googletest"
    [packages]="dpkg-dev file"
    [test-reports]="python3 python3-jsonschema libxml2-utils"
    [npm]="npm"
    [test-pages]="chromium"
    [test-packages]="debootstrap lintian python3 systemd systemd-container openssh-client"
    [test-fleet]="slurmctld slurmd slurm-client munge parallel openssh-server openssh-client"
    [bench]="libyang-tools python3"
    [plot]="gnuplot-nox"
    [fuzz]="clang libclang-rt-14-dev"
    [coverage]="gcovr"
    [api-docs]="doxygen"
    [format]="clang-format"
    [lint]="clang-tidy cppcheck"
)

fail() {
    echo "install-deps: $*" >&2
    exit 1
}

wanted=()
for group in "${@:-program}"; do
    [ -n "${groups[$group]:-}" ] || fail "unknown group $group; there are ${!groups[*]}"
    read -r -d '' -a packages <<< "${groups[$group]}" || true # Always ends at the end of the text.
    wanted+=("${packages[@]}")
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
# What is installed is used by tests of ours, not started as a service of the machine.
policy=/usr/sbin/policy-rc.d
if [ ! -e "$policy" ]; then
    trap '"${as_root[@]}" rm -f "$policy"' EXIT
    printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
    "${as_root[@]}" chmod 755 "$policy"
fi
apt_get=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
"${apt_get[@]}" update || fail "apt-get update failed: see above"
"${apt_get[@]}" install -y --no-install-recommends "${missing[@]}" ||
    fail "apt-get could not install ${missing[*]}: see above"
