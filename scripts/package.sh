#!/usr/bin/env bash
# Builds the Debian package of Quenvo in build-package/ (Release, no tests, no benchmarks) with
# CPack, then checks what it installs: the desktop entry with desktop-file-validate and the
# AppStream metadata with appstreamcli. Prints the package's path.
#
#   scripts/package.sh
#   sudo apt-get install ./build-package/quenvo_0.1.0_amd64.deb
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$QUENVO_ROOT/scripts/install-deps.sh"
# Only what the package holds is built: the install step does not wait for every target.
configure_build build-package -DCMAKE_BUILD_TYPE=Release -DQUENVO_WARNINGS_AS_ERRORS=ON \
    -DCMAKE_CXX_COMPILER=g++ -DQUENVO_BUILD_TESTS=OFF -DQUENVO_BUILD_BENCH=OFF \
    -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON
build="$QUENVO_ROOT/build-package"
nice ninja -C "$build" -j "$QUENVO_JOBS" --quiet quenvo quenvo_app_icons
(cd "$build" && cpack -G DEB >/dev/null)

package="$(ls -t "$build"/quenvo_*.deb | head -n 1)"
contents="$(mktemp -d "${TMPDIR:-/tmp}/quenvo-package.XXXXXX")"
trap 'rm -rf "$contents"' EXIT
dpkg-deb -x "$package" "$contents"
desktop-file-validate "$contents/usr/share/applications/app.quenvo.Quenvo.desktop"
appstreamcli validate --no-net --explain "$contents/usr/share/metainfo/app.quenvo.Quenvo.metainfo.xml"
echo "$package"
