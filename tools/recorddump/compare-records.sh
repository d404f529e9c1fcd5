#!/usr/bin/env bash
# Shows that the M3U parser and the Xtream readers of this tree make the same records, byte for byte,
# as those of an earlier commit: quenvo-recorddump is built against both (the earlier commit's sources
# with this tree's dump tool) and run on the same files, and the two outputs are compared.
#   tools/recorddump/compare-records.sh <earlier commit> [build folder of this tree] [paths…]
# Paths default to the shared fixtures' m3u and xtream folders; add generated playlists or answers
# (build/bench-data) to compare those too. Prints one SHA-256 per file on each side, then the verdict;
# exits non-zero when anything differs.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
earlier=${1:?an earlier commit is needed}
current_build=$(realpath -m "${2:-$root/build}")
shift $(( $# >= 2 ? 2 : $# ))
fixtures="${QUENVO_FIXTURES_DIR:-$root/../shared/fixtures}"
paths=("$@")
[ ${#paths[@]} -gt 0 ] || paths=("$fixtures/m3u" "$fixtures/xtream")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The earlier sources, with this tree's dump tool added to them.
git -C "$root" archive "$earlier" | tar -x -C "$work"
rm -rf "$work/tools/recorddump"
cp -r "$root/tools/recorddump" "$work/tools/recorddump"
grep -q 'add_subdirectory(recorddump)' "$work/tools/CMakeLists.txt" ||
    echo 'add_subdirectory(recorddump)' >>"$work/tools/CMakeLists.txt"

jobs="${QUENVO_JOBS:-2}"
cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUENVO_BUILD_TESTS=OFF \
    -DQUENVO_BUILD_BENCH=OFF >/dev/null
nice ninja -C "$work/build" -j"$jobs" quenvo-recorddump >/dev/null
nice ninja -C "$current_build" -j"$jobs" quenvo-recorddump >/dev/null

"$work/build/tools/recorddump/quenvo-recorddump" --out "$work/earlier.txt" "${paths[@]}"
"$current_build/tools/recorddump/quenvo-recorddump" --out "$work/current.txt" "${paths[@]}"
"$work/build/tools/recorddump/quenvo-recorddump" --digests "${paths[@]}" >"$work/earlier-digests.txt"
"$current_build/tools/recorddump/quenvo-recorddump" --digests "${paths[@]}" >"$work/current-digests.txt"

echo "Records of $(git -C "$root" rev-parse --short "$earlier") (left) and of this tree (right), SHA-256 per file:"
paste -d' ' <(cut -c1-16 "$work/earlier-digests.txt") <(cut -c1-16 "$work/current-digests.txt") \
    <(sed 's/^[0-9a-f]*  //' "$work/current-digests.txt")
echo "Whole dumps: $(wc -c <"$work/earlier.txt") and $(wc -c <"$work/current.txt") bytes;" \
    "$(grep -c '^channel' "$work/current.txt") channel, $(grep -c '^item' "$work/current.txt") title and" \
    "$(grep -c '^episode' "$work/current.txt") episode lines."
if cmp -s "$work/earlier.txt" "$work/current.txt"; then
    echo "Identical: every record of every file is the same, byte for byte."
else
    echo "DIFFERENT:"
    diff "$work/earlier.txt" "$work/current.txt" | head -n 40
    exit 1
fi
