#!/bin/sh
# dpkg-shlibdeps, without the processor's name in "libc6:arm64 (>= 2.36)".
dpkg-shlibdeps "$@" | sed 's/:arm64//g'
