#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds a wheel with the library from a copy of the sources, and installs it in a new environment,
# without a registry: install.sh PYTHON ROOT LIBRARY ENVIRONMENT
set -eu
python=$1 root=$2 library=$3 environment=$4

rm -rf "$environment"
"$python" -m venv --system-site-packages "$environment"
copy=$environment/source
mkdir -p "$copy/include/corvo" "$copy/bindings"
cp "$root/include/corvo/version.h" "$copy/include/corvo"
cp "$root/LICENSE" "$copy"
strip -o "$copy/libcorvo_c.so" "$library"  # what is large takes long to compress
cp -R "$root/bindings/python" "$copy/bindings"

quietly="--quiet --disable-pip-version-check --no-index --no-deps"
# shellcheck disable=SC2086
CORVO_LIBRARY=$copy/libcorvo_c.so "$environment/bin/python" -m pip wheel $quietly --no-build-isolation \
  --wheel-dir "$environment/wheels" "$copy/bindings/python"
ls "$environment"/wheels/corvo-*-py3-none-linux_*.whl
# shellcheck disable=SC2086
"$environment/bin/python" -m pip install $quietly "$environment"/wheels/*.whl
