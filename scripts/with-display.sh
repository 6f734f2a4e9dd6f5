#!/usr/bin/env bash
# Runs a command with an X display: the caller's own when DISPLAY is set, otherwise a private Xvfb
# started for the command and stopped after it.
set -euo pipefail
export NO_AT_BRIDGE=1
if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  exec "$@"
fi
number=99
while [ -e "/tmp/.X${number}-lock" ] || [ -e "/tmp/.X11-unix/X${number}" ]; do number=$((number + 1)); done
Xvfb ":${number}" -screen 0 1600x1000x24 -nolisten tcp >/tmp/velx-xvfb-${number}.log 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true' EXIT
export DISPLAY=":${number}"
for _ in $(seq 1 100); do
  xdpyinfo >/dev/null 2>&1 && break
  sleep 0.1
done
if ! xdpyinfo >/dev/null 2>&1; then
  echo "Xvfb did not start on display ${DISPLAY}; see /tmp/velx-xvfb-${number}.log" >&2
  exit 1
fi
set +e
"$@"
status=$?
exit $status
