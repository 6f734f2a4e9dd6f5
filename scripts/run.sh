#!/usr/bin/env bash
# Builds what is needed and starts VelX Studio on the demo scene. Options go to the studio
# (--scene FILE, --run FILE.lua|FILE.py, --screenshot FILE.png).
#
# On a machine with no display the studio runs in a private virtual display (Xvfb), saves a
# screenshot of itself (velx-studio.png in the current folder unless --screenshot names one) and
# says where it is.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build "$root/build" --target velx-studio
studio="$root/build/app/velx-studio"

if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  exec "$studio" "$@"
fi

args=("$@")
wants_screenshot=0
for a in "${args[@]}"; do [ "$a" = "--screenshot" ] && wants_screenshot=1; done
if [ $wants_screenshot -eq 0 ]; then
  args+=(--screenshot "$PWD/velx-studio.png")
fi
echo "No display here: running the studio in a virtual display and saving a screenshot."
exec "$root/scripts/with-display.sh" "$studio" "${args[@]}"
