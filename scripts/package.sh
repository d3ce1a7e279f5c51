#!/usr/bin/env bash
# Builds the Debian packages in build/packages: libisp-ctrl1, libisp-ctrl-dev and isp-sim for this machine, and, with
# the cross compiler, the first two for 64-bit Arm.
#   scripts/package.sh [--check] [amd64] [arm64]     for both when none is named
# --check: lintian finds no error in them, what they need can be had, and the example host, built and linked with what
# they hold, runs.
set -euo pipefail
cd "$(dirname "$0")/.."
check=0
architectures=()
for word in "$@"; do
    case $word in
    --check) check=1 ;;
    amd64 | arm64) architectures+=("$word") ;;
    *)
        echo "usage: ${0##*/} [--check] [amd64] [arm64]" >&2
        exit 2
        ;;
    esac
done
scripts/install-packages.sh --package
native=$(dpkg --print-architecture)
if ((${#architectures[@]} == 0)); then
    mapfile -t architectures < <(printf '%s\n' "$native" arm64 | sort --unique)
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

check_packages() { # ARCHITECTURE COMPILER EMULATOR... : of $packages
    local architecture=$1 compiler=$2 emulator=("${@:3}") root=$work/$1 triplet package
    lintian --fail-on error --allow-root "${packages[@]}"
    for package in "${packages[@]}"; do
        dpkg-deb --extract "$package" "$root"
    done
    triplet=$("$compiler" -print-multiarch)
    cp -r "$root/usr/share/doc/libisp-ctrl-dev/examples/host" "$work/host-$architecture"
    PKG_CONFIG_LIBDIR=$root/usr/lib/$triplet/pkgconfig LDFLAGS="-Wl,-rpath,$root/usr/lib/$triplet" \
        make --silent -C "$work/host-$architecture" CC="$compiler"
    tests/library/run_example.sh "$work/host-$architecture/host" "${emulator[@]}"
    if [[ $architecture == "$native" ]]; then
        dpkg --no-act --install "${packages[@]}" >/dev/null
        "$root/usr/bin/isp-sim" --state "$work/state" --help >/dev/null
        gzip --test "$root/usr/share/man/man1/isp-sim.1.gz"
    fi
}

mkdir -p build/packages
for architecture in "${architectures[@]}"; do
    preset=package
    compiler=cc
    emulator=()
    if [[ $architecture != "$native" ]]; then
        preset=package-$architecture
        compiler=aarch64-linux-gnu-gcc
        emulator=(qemu-aarch64 -L /usr/aarch64-linux-gnu)
    fi
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" | tail -n 1
    rm -f "build/$preset"/packages/*.deb build/packages/*_"$architecture".deb
    (cd "build/$preset" && cpack >cpack.log 2>&1) || { cat "build/$preset/cpack.log" && exit 1; }
    cp "build/$preset"/packages/*.deb build/packages
    packages=(build/packages/*_"$architecture".deb)
    if ((check)); then
        check_packages "$architecture" "$compiler" "${emulator[@]}"
    fi
    ls -l "${packages[@]}"
done
