#!/usr/bin/env bash
# Builds what is needed and runs the scene core's command-line program on the demo scene.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build build --target velx-scene
exec build/tools/velx-scene/velx-scene "$@"
