#!/usr/bin/env bash
# Builds the Debian packages libisp-ctrl1, libisp-ctrl-dev and isp-sim in build/packages, for this machine and, with the
# cross compiler, for 64-bit Arm.
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

# The tree of the target's packages that a build for another processor links with, and a list of what they say of their
# libraries.
make_sysroot() { # ARCHITECTURE TREE
    local packages suite
    packages=$(scripts/install-packages.sh --list | grep -e '-dev$' | tr '\n' ',')
    if [[ -f $2/shlibs && $(cat "$2/packages") == "$packages" ]]; then
        return
    fi
    # shellcheck source=/dev/null
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    rm -rf "$2"
    # shellcheck disable=SC2016 # the hook is a script of its own
    mmdebstrap --quiet --variant=extract --architectures="$1" --include="libc6-dev,$packages" --extract-hook='
        for package in "$1"/var/cache/apt/archives/*.deb; do
            dpkg-deb --info "$package" shlibs 2>/dev/null
        done >"$1/shlibs"' "$suite" "$2"
    echo "$packages" >"$2/packages"
}

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
    echo "start 0" >"$work/script"
    "${emulator[@]}" "$root/usr/bin/isp-sim" --state "$work/state-$architecture" "$work/script"
    gzip --test "$root/usr/share/man/man1/isp-sim.1.gz"
    if [[ $architecture == "$native" ]]; then
        dpkg --no-act --install "${packages[@]}" >/dev/null
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
        emulator=(qemu-aarch64 -L "$PWD/build/sysroot-$architecture")
        make_sysroot "$architecture" "$PWD/build/sysroot-$architecture"
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
