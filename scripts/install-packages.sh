#!/usr/bin/env bash
# Installs the Debian packages this project needs and the machine lacks.
#   scripts/install-packages.sh            to build and run the library and isp-sim
#   scripts/install-packages.sh --list     only names those
#   scripts/install-packages.sh --package  also what Debian packages need, for 64-bit Arm too
#   scripts/install-packages.sh --ci       also what all checks need: sanitizers, target processor, ABI, documents
#   scripts/install-packages.sh --long     also what scripts/long.sh needs
set -euo pipefail

packages=(
    cmake fonts-dejavu-core g++ gnuplot-nox libcairo2-dev libcli11-dev libmicrohttpd-dev libedit-dev liblcms2-dev
    libpng-dev libturbojpeg0-dev ninja-build nlohmann-json3-dev pkg-config
)
deb_packages=(
    dpkg-dev lintian make mmdebstrap                                 # packages
    binutils-aarch64-linux-gnu g++-aarch64-linux-gnu qemu-user       # the target's processor
)
ci_packages=(
    libbenchmark-dev libgmock-dev libgtest-dev                       # tests and benchmarks
    clang-format-19 clang-tidy-19 python3 shellcheck valgrind        # checks
    clang-19 libclang-rt-19-dev llvm-19                              # sanitizers and coverage
    googletest                                                       # tests on the target's processor
    abigail-tools binutils                                           # symbols and ABI
    doxygen graphviz                                                 # documents
    chromium chromium-driver python3-selenium                        # the page in a browser
)
long_packages=(
    lld mmdebstrap                                                   # mutation, bare installations of Debian
)
case "${1-}" in
"") ;;
--list)
    printf '%s\n' "${packages[@]}"
    exit
    ;;
--package) packages+=("${deb_packages[@]}") ;;
--ci) packages+=("${deb_packages[@]}" "${ci_packages[@]}") ;;
--long) packages+=("${deb_packages[@]}" "${ci_packages[@]}" "${long_packages[@]}") ;;
*)
    echo "usage: ${0##*/} [--list | --package | --ci | --long]" >&2
    exit 2
    ;;
esac

missing=()
for package in "${packages[@]}"; do
    if [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
        missing+=("$package")
    fi
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

echo "Installing: ${missing[*]}"
as_root=()
if ((EUID != 0)); then
    as_root=(sudo)
fi
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
