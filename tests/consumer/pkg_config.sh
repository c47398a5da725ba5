#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds and runs the application with pkg-config alone: pkg_config.sh COMPILER PREFIX FOLDER [--static]
set -eu
compiler=$1 prefix=$2 folder=$3
static=${4:-}
app=$(dirname "$0")/app
libraries=$(dirname "$(find "$prefix" -name 'libcorvo.*' | head -n 1)")
export PKG_CONFIG_PATH="$libraries/pkgconfig" LD_LIBRARY_PATH="$libraries"
mkdir -p "$folder"

build() {  # build PROGRAM PACKAGE...
  source=$1
  shift
  # shellcheck disable=SC2046,SC2086  # flags are words
  "$compiler" -std=c++20 "$app/$source.cc" -o "$folder/$source" $(pkg-config --cflags --libs $static "$@")
  "$folder/$source"
}

build main corvo corvo-fakes
build engine corvo-engine
build lint corvo-lint
