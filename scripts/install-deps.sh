#!/usr/bin/env bash
# Installs every Debian package Quenvo needs. Idempotent: does nothing when all are present.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
mapfile -t wanted < <(sed -e 's/#.*//' -e 's/[[:space:]]//g' "$here/packages.txt" | grep -v '^$')

missing=()
for pkg in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$pkg" 2>/dev/null || true)
    [ "$status" = "installed" ] || missing+=("$pkg")
done

if [ "${#missing[@]}" -gt 0 ]; then
    echo "install-deps: installing ${#missing[@]} package(s): ${missing[*]}"
    sudo_cmd=()
    if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
    export DEBIAN_FRONTEND=noninteractive
    "${sudo_cmd[@]}" apt-get update -qq
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# The JavaScript parsers the benchmarks compare against come from npm (node ships with the machine).
if command -v node >/dev/null 2>&1 && command -v npm >/dev/null 2>&1; then
    modules="$here/../bench/node/node_modules"
    if [ ! -d "$modules/iptv-playlist-parser" ] || [ ! -d "$modules/@iptv/xmltv" ] || [ ! -d "$modules/epg-parser" ]; then
        (cd "$here/../bench/node" && npm ci --silent --no-audit --no-fund) || echo "install-deps: npm packages unavailable; the benchmark will skip its comparison"
    fi
fi
