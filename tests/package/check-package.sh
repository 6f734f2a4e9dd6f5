#!/usr/bin/env bash
# Installs the built panel library into a scratch prefix, builds a small host against the
# installed package with find_package(VelXUI), and runs it.
set -euo pipefail
build="$1"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" > /dev/null
cmake -S "$(dirname "$0")" -B "$scratch/host" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/prefix" > /dev/null
cmake --build "$scratch/host" > /dev/null
XDG_CONFIG_HOME="$scratch/config" "$scratch/host/velxui-host"
