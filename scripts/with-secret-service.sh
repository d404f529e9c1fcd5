#!/usr/bin/env bash
# Runs a command inside a D-Bus session of its own that offers a throw-away Secret Service: a
# GNOME Keyring daemon with a fresh, unlocked login keyring. HOME and the XDG folders point into a
# scratch folder removed afterwards, so nothing touches the user's own keyring or settings. Works
# headless and as root (CI).
#
#   scripts/with-secret-service.sh [--without-keyring] command [arguments…]
#
# --without-keyring: the same isolated session, but with no Secret Service on the bus at all.
# The command sees QUENVO_SECRET_SERVICE=unlocked (or =absent), so that a test can refuse to run
# against a keyring it was not given. The command's exit status is returned.
set -euo pipefail

mode=unlocked
if [[ "${1-}" == "--without-keyring" ]]; then
    mode=absent
    shift
fi
if [[ $# -eq 0 ]]; then
    echo "usage: $0 [--without-keyring] command [arguments…]" >&2
    exit 2
fi

for tool in dbus-run-session dbus-send gnome-keyring-daemon; do
    if ! command -v "$tool" >/dev/null; then
        echo "$0: $tool is missing (packages dbus-daemon, dbus-bin, gnome-keyring)" >&2
        exit 2
    fi
done

scratch="$(mktemp -d "${TMPDIR:-/tmp}/quenvo-secrets.XXXXXX")"
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/home" "$scratch/config" "$scratch/data" "$scratch/cache" "$scratch/run"
chmod 0700 "$scratch/run"

export HOME="$scratch/home"
export XDG_CONFIG_HOME="$scratch/config"
export XDG_DATA_HOME="$scratch/data"
export XDG_CACHE_HOME="$scratch/cache"
export XDG_RUNTIME_DIR="$scratch/run"
export QUENVO_SECRET_SERVICE="$mode"
# Whatever session the caller is in (a desktop, another CI step) is not ours to use.
unset DBUS_SESSION_BUS_ADDRESS GNOME_KEYRING_CONTROL SSH_AUTH_SOCK XDG_CURRENT_DESKTOP XDG_SESSION_DESKTOP \
    DESKTOP_SESSION KDE_FULL_SESSION

# A session bus that starts nothing by itself: the system's activation files would otherwise start
# a keyring (or a wallet) on first use, and "no Secret Service" could not be tested.
cat >"$scratch/session.conf" <<EOF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:dir=$scratch/run</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
EOF

# Inside the session: unlock (creating it) the login keyring with a password nobody keeps, wait
# until the daemon owns its bus name, then hand over to the command. The daemon ends with the bus.
inside='
set -eu
if [ "$QUENVO_SECRET_SERVICE" = unlocked ]; then
    printf %s "$(od -An -N16 -tx1 /dev/urandom | tr -d " \n")" \
        | gnome-keyring-daemon --unlock --components=secrets >/dev/null
    tries=0
    until dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
            org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets 2>/dev/null \
            | grep -q "boolean true"; do
        tries=$((tries + 1))
        if [ "$tries" -gt 200 ]; then
            echo "with-secret-service: the keyring daemon did not join the session bus" >&2
            exit 2
        fi
        sleep 0.05
    done
fi
exec "$@"
'
# dbus-run-session prints "Failed to set fd limit" when run as root; it is harmless.
status=0
dbus-run-session --config-file="$scratch/session.conf" -- sh -c "$inside" with-secret-service "$@" || status=$?
exit "$status"
