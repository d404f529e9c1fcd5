#!/usr/bin/env bash
# First run: installs what is missing, builds Quenvo and the local provider, starts the provider and
# opens Quenvo on its playlist. The provider stops when Quenvo exits.
#
# Without a display, Quenvo runs on a virtual X screen (Xvfb) with a throw-away keyring; before that,
# a picture of the window playing the first channel is written and its path printed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$QUENVO_ROOT/scripts/install-deps.sh"
configure_main_build
build="$QUENVO_ROOT/build"
ninja -C "$build" -j "$QUENVO_JOBS" --quiet quenvo quenvo-provider quenvo-screenshot

app="$build/app/quenvo"
provider_log="$(mktemp "${TMPDIR:-/tmp}/quenvo-provider.XXXXXX")"
provider_pid=""
stop_provider() {
    if [ -n "$provider_pid" ]; then
        kill "$provider_pid" 2>/dev/null || true
        wait "$provider_pid" 2>/dev/null || true
    fi
    rm -f "$provider_log"
}
trap stop_provider EXIT
trap 'exit 130' INT TERM

# start_provider <port>: starts it in the background and waits until it listens; sets `base` to its
# address.
start_provider() {
    "$build/tools/provider/quenvo-provider" --port "$1" >"$provider_log" 2>&1 &
    provider_pid=$!
    # The first start generates its media with ffmpeg: allow it a while.
    for _ in $(seq 1 600); do
        local address
        address="$(sed -n 's/^Quenvo local provider on \(http[^ ]*\)$/\1/p' "$provider_log")"
        if [ -n "$address" ]; then
            base="$address"
            return 0
        fi
        if ! kill -0 "$provider_pid" 2>/dev/null; then
            wait "$provider_pid" 2>/dev/null || true
            provider_pid=""
            return 1
        fi
        sleep 0.2
    done
    return 1
}

echo "run: starting the local provider…"
base=""
if ! start_provider 8765; then
    echo "run: port 8765 is taken; using a free port"
    start_provider 0 || { cat "$provider_log" >&2; exit 1; }
fi
playlist="$base/playlist.m3u"
echo "run: provider on $base; Quenvo opens $playlist"

# A machine without a sound device makes ALSA complain about every audio buffer: keep those lines out.
without_alsa_noise() { grep -v '^ALSA lib ' >&2 || true; }

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    screenshot="$build/quenvo-first-run.png"
    echo "run: no display found; Quenvo runs on a virtual X screen (Xvfb)."
    "$QUENVO_ROOT/scripts/with-secret-service.sh" \
        xvfb-run -a -s "-screen 0 1280x1024x24" "$build/tools/screenshot/quenvo-screenshot" "$screenshot" "$playlist" \
        >/dev/null 2> >(without_alsa_noise)
    echo "run: screenshot of the window playing the first channel: $screenshot"
    echo "run: Quenvo is running on the virtual screen. Stop it with Ctrl+C."
    status=0
    "$QUENVO_ROOT/scripts/with-secret-service.sh" \
        xvfb-run -a -s "-screen 0 1280x1024x24" "$app" "$playlist" "$@" 2> >(without_alsa_noise) || status=$?
    exit "$status"
fi
status=0
"$app" "$playlist" "$@" || status=$?
exit "$status"
