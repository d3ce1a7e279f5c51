#!/usr/bin/env bash
# Installs the build, moves the installed tree, and builds and runs programs against it that know nothing else: the
# example host and its test in simulated time by make and by CMake, a host in C by pkg-config, and in C++ by the CMake
# package with the shared and the static library.
#   check_consumers.sh BUILD EXAMPLE [EMULATOR...]
# CC names the C compiler, TOOLCHAIN the CMake toolchain file, if any.
set -euo pipefail
build=$1
example=$2
run=("${@:3}")
folder=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

DESTDIR=$work/staged cmake --install "$build" --prefix /usr/local >/dev/null
mv "$work/staged/usr/local" "$work/moved"
prefix=$work/moved
libraries=$(dirname "$(find "$prefix" -name libisp_ctrl.a)")
export PKG_CONFIG_LIBDIR=$libraries/pkgconfig LDFLAGS="-Wl,-rpath,$libraries" CC=${CC:-cc}

configure() { # SOURCE BUILD
    cmake -G Ninja -S "$1" -B "$2" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix" \
        ${TOOLCHAIN:+"-DCMAKE_TOOLCHAIN_FILE=$TOOLCHAIN"} >/dev/null
    cmake --build "$2" >/dev/null
}

echo "example, make"
cp -r "$example" "$work/example"
make -C "$work/example" CFLAGS=-Werror CC="$CC" CXX="${CXX:-c++}" host host_test >/dev/null
"$folder/run_example.sh" "$work/example/host" "${run[@]}"
"${run[@]}" "$work/example/host_test" >"$work/test.log" || { cat "$work/test.log" && exit 1; }

echo "example, CMake"
configure "$work/example" "$work/example/build"
"${run[@]}" "$work/example/build/host" 2>/dev/null || [[ $? == 2 ]] # its usage
"${run[@]}" "$work/example/build/host_test" >/dev/null

echo "C, pkg-config"
for package in isp_ctrl isp_ctrl_static isp_simulated_engine isp_simulated_host isp_simulated_time; do
    pkg-config --exact-version="$(pkg-config --modversion isp_ctrl)" $package
done
# shellcheck disable=SC2046 # the flags are words
"$CC" -std=c11 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags isp_simulated_host) \
    "$folder/consumers/c/main.c" -o "$work/c_host" "$LDFLAGS" $(pkg-config --libs isp_simulated_host)
"${run[@]}" "$work/c_host"

echo "every header of the library, in C99 with extensions"
headers=$prefix/include/isp_ctrl
(cd "$headers" && find . -name '*.h' -printf '#include "%P"\n') >"$work/headers.c"
"$CC" -std=gnu99 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I"$headers" "$work/headers.c"

echo "every header of the simulator"
(cd "$prefix/include/isp_ctrl_simulator" && find . -name '*.h' -printf '#include "%P"\n') >"$work/headers.cpp"
[[ $(wc -l <"$work/headers.cpp") -gt 10 ]]
# shellcheck disable=SC2046
"$CC" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags isp_simulated_host) \
    "$work/headers.cpp"

echo "C++, CMake package"
configure "$folder/consumers/cpp" "$work/cpp"
for program in with_shared with_static; do
    "${run[@]}" "$work/cpp/$program"
done
