#!/usr/bin/env bash
# Installs the build, moves the installed tree, and builds and runs two programs against it that know nothing else: one
# in C by pkg-config, one in C++ by the CMake package, with the shared and with the static library.
#   check_consumers.sh BUILD HOST [EMULATOR...]
# HOST is the shared object that plays the host. CC names the C compiler, TOOLCHAIN the CMake toolchain file, if any.
set -euo pipefail
build=$1
host=$2
run=("${@:3}")
sources=$(cd "$(dirname "$0")/consumers" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
mv "$work/installed" "$work/moved"
prefix=$work/moved
libraries=$(dirname "$(find "$prefix" -name libisp_ctrl.a)")
rpath=-Wl,-rpath,$libraries:$(dirname "$host")

echo "C, pkg-config"
export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
pkg-config --exact-version="$(pkg-config --modversion isp_ctrl)" isp_ctrl
# shellcheck disable=SC2046 # the flags are words
"${CC:-cc}" -std=c11 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags isp_ctrl) "$sources/c/main.c" \
    -o "$work/c_host" $(pkg-config --libs isp_ctrl) "$host" "$rpath"
"${run[@]}" "$work/c_host"

echo "C++, CMake package"
cmake -G Ninja -S "$sources/cpp" -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix" \
    ${TOOLCHAIN:+"-DCMAKE_TOOLCHAIN_FILE=$TOOLCHAIN"} -DHOST="$host" >/dev/null
cmake --build "$work/cpp" >/dev/null
"${run[@]}" "$work/cpp/with_shared"
"${run[@]}" "$work/cpp/with_static"
