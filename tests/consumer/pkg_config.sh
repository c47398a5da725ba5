#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds and runs the applications in C++ and C with pkg-config alone:
#   pkg_config.sh COMPILER PREFIX FOLDER [--static]
# The compiler for C is $CC, or cc.
set -eu
compiler=$1 prefix=$2 folder=$3
static=${4:-}
app=$(dirname "$0")/app examples=$(dirname "$0")/../../examples
libraries=$(dirname "$(find "$prefix" -name 'libcorvo.*' | head -n 1)")
export PKG_CONFIG_PATH="$libraries/pkgconfig" LD_LIBRARY_PATH="$libraries"
mkdir -p "$folder"

build() {  # build COMPILER STANDARD SOURCE PROGRAM PACKAGE...
  builder=$1 standard=$2 source=$3 program=$4
  shift 4
  # shellcheck disable=SC2046,SC2086  # flags are words
  "$builder" -std="$standard" "$source" -o "$folder/$program" $(pkg-config --cflags --libs $static "$@")
}

build "$compiler" c++20 "$app/main.cc" main corvo corvo-fakes
build "$compiler" c++20 "$app/engine.cc" engine corvo-engine
build "$compiler" c++20 "$app/lint.cc" lint corvo-lint
for program in main engine lint; do "$folder/$program"; done

build "${CC:-cc}" c11 "$examples/explain.c" explain corvo-c
"$folder/explain" "$examples/shop/config.json" ann | grep -q '^short-checkout: short$'
