#!/usr/bin/env bash
# Builds the Debian packages libisp-ctrl1, libisp-ctrl-dev and isp-sim, and the debug symbols of the first and the last, in
# build/packages, for this machine and, with the cross compiler, for 64-bit Arm. The same commit makes the same bytes.
#   scripts/package.sh [--check] [amd64] [arm64]     for both when none is named
# --check: lintian finds no error in them, what they need can be had, and the example host, built and linked with what
# they hold, runs. BUILD=FOLDER takes another build for this machine than that of the preset `package`, made with
# -DISP_CTRL_PACKAGES=ON.
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
((${#architectures[@]} > 0)) || mapfile -t architectures < <(printf '%s\n' "$native" arm64 | sort --unique)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat --format=%Y CMakeLists.txt)}
export SOURCE_DATE_EPOCH

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
            dpkg-deb --info "$package" shlibs 2>/dev/null || true
        done >"$1/shlibs"' "$suite" "$2"
    echo "$packages" >"$2/packages"
}

# What cpack has no words for: libraries of several processors side by side, and archives without debug symbols.
finish() { # PACKAGE STRIP
    local tree=$work/tree name
    rm -rf "$tree"
    dpkg-deb --raw-extract "$1" "$tree"
    if [[ ${1##*/} == lib* ]]; then
        sed -i '/^Architecture:/a Multi-Arch: same' "$tree/DEBIAN/control"
    fi
    sed -i '/^Package-Type:/d' "$tree/DEBIAN/control" # its name ends in .deb
    name=${1##*/}
    name=${name%%_*}
    if [[ $name == *-dbgsym ]]; then # its documents are those of the package it belongs to
        mkdir -p "$tree/usr/share/doc"
        ln -s "${name%-dbgsym}" "$tree/usr/share/doc/$name"
    fi
    find "$tree" -name '*.a' -exec "$2" --strip-debug --enable-deterministic-archives {} +
    (cd "$tree" && find . -path ./DEBIAN -prune -o -type f -printf '%P\0' | sort -z | xargs -0 md5sum >DEBIAN/md5sums)
    name=${1##*/}
    dpkg-deb --root-owner-group -Zxz --build "$tree" "build/packages/${name%.*}.deb" >/dev/null
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
        make --silent -C "$work/host-$architecture" CC="$compiler" CXX="${compiler/%gcc/g++}" host host_test
    "${emulator[@]}" "$work/host-$architecture/host_test" >"$work/host_test.log" || { cat "$work/host_test.log" && exit 1; }
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
    build=${BUILD-build/package}
    compiler=gcc
    strip="strip"
    emulator=()
    if [[ $architecture != "$native" ]]; then
        preset=package-$architecture
        build=build/$preset
        compiler=aarch64-linux-gnu-gcc
        strip=aarch64-linux-gnu-strip
        emulator=(qemu-aarch64 -L "$PWD/build/sysroot-$architecture")
        make_sysroot "$architecture" "$PWD/build/sysroot-$architecture"
    fi
    if [[ $build == "build/$preset" ]]; then
        cmake --preset "$preset" >/dev/null
    fi
    cmake --build "$build" | tail -n 1
    rm -f "$build"/packages/*.*deb build/packages/*_"$architecture".deb
    (cd "$build" && cpack >cpack.log 2>&1) || { cat "$build/cpack.log" && exit 1; }
    for package in "$build"/packages/*.*deb; do
        finish "$package" "$strip"
    done
    packages=(build/packages/*_"$architecture".deb)
    if ((check)); then
        check_packages "$architecture" "$compiler" "${emulator[@]}"
    fi
    ls -l "${packages[@]}"
done
