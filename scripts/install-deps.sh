#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when any is missing.
set -euo pipefail
packages=(cmake ninja-build ccache g++ pkg-config nlohmann-json3-dev liblua5.4-dev libpython3.11-dev python3
          libgtest-dev libbenchmark-dev libwxgtk3.2-dev libgtk-3-dev xvfb xauth x11-utils xdotool fonts-dejavu-core)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
fi
