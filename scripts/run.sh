#!/usr/bin/env bash
# Installs what is missing, builds Quenvo and starts it. Without a display it runs under Xvfb.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$QUENVO_ROOT/scripts/install-deps.sh"
configure_main_build
ninja -C "$QUENVO_ROOT/build" -j "$QUENVO_JOBS" --quiet quenvo

app="$QUENVO_ROOT/build/app/quenvo"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "run: no display found; starting Quenvo on a virtual X screen (Xvfb). Stop it with Ctrl+C."
    exec xvfb-run -a -s "-screen 0 1280x1024x24" "$app" "$@"
fi
exec "$app" "$@"
