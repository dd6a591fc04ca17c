#!/usr/bin/env bash
# Builds the object-model identifier tests for 32-bit ARM (hard-float) and runs
# them under qemu-arm. They need only Boost headers and GoogleTest's sources,
# so no armhf sysroot is required.
set -euo pipefail
cd "$(dirname "$0")/.."
out=build/armhf-objmodelid
gtest=/usr/src/googletest/googletest
cxx=arm-linux-gnueabihf-g++
mkdir -p "$out/include"
# Only Boost from the host: the host's libc headers must not mix in.
ln -sfn /usr/include/boost "$out/include/boost"
[ -f "$out/gtest-all.o" ] || $cxx -std=c++17 -O1 -I"$gtest/include" -I"$gtest" -c "$gtest/src/gtest-all.cc" -o "$out/gtest-all.o"
[ -f "$out/gtest_main.o" ] || $cxx -std=c++17 -O1 -I"$gtest/include" -c "$gtest/src/gtest_main.cc" -o "$out/gtest_main.o"
$cxx -std=c++17 -O2 -Wall -Wextra -Wpedantic -Wshadow -Werror -isystem "$out/include" -isystem "$gtest/include" \
    -Isrc/Include src/LumObjectModel/KnxPelMapping.cpp tests/pelmapping/ObjModelIdTest.cpp \
    "$out/gtest-all.o" "$out/gtest_main.o" -pthread -o "$out/ObjModelIdTest"
qemu-arm -L /usr/arm-linux-gnueabihf "$out/ObjModelIdTest"
