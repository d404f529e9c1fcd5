#!/usr/bin/env bash
# Builds the benchmarks in build/ (RelWithDebInfo) and runs every one of them, printing the figures.
#   scripts/bench.sh [WORD…]   only the benchmarks whose title holds one of the words, e.g. M3U
# Environment:
#   QUENVO_BENCH_RUNS    timed runs per measurement (default 7; each tool also does one first run)
#   QUENVO_JOBS          parallel build jobs (default 2)
#   QUENVO_FIXTURES_DIR  third-party playlists (default: ../shared/fixtures beside the repository)
#   QUENVO_BUILD_DIR     build folder (default: build)
# Benchmarks are timing tools, not tests: missing targets are reported, never a failure. The exit
# status is non-zero only when a build or a benchmark itself fails.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$root"
build="$(realpath -m "${QUENVO_BUILD_DIR:-build}")"
bin="$build/bench"
data="$build/bench-data"
runs="${QUENVO_BENCH_RUNS:-7}"
jobs="${QUENVO_JOBS:-2}"
fixtures="${QUENVO_FIXTURES_DIR:-$root/../shared/fixtures}"

# ---------------------------------------------------------------------------------------------------
# Helpers

# The value of `key` in a line of key=value pairs, or "-".
field() {
    local pair
    for pair in $1; do
        if [[ $pair == "$2="* ]]; then
            echo "${pair#*=}"
            return
        fi
    done
    echo "-"
}

# awk arithmetic on the arguments; "-" when one of them is missing.
calc() {
    local expression=$1
    shift
    local value
    for value in "$@"; do
        if [[ $value == "-" || $value == "-1" || $value == "-1.00" ]]; then
            echo "-"
            return
        fi
    done
    awk -v a="${1:-0}" -v b="${2:-0}" "BEGIN { printf \"%s\", $expression }"
}

section() {
    printf '\n== %s ==\n' "$1"
}

# ---------------------------------------------------------------------------------------------------
# M3U parse: M3UParser against iptv-playlist-parser (npm), on generated and real playlists.

m3u_parse_comparison() {
    mkdir -p "$data" || return 1
    # The generator reports how many distinct http(s) addresses it wrote: what the parser must keep.
    local -A written=()
    local entries summary
    for entries in 10k 100k; do
        summary=$("$bin/quenvo-playlistgen" --entries "${entries%k}000" --seed 1 --out "$data/playlist-$entries.m3u") ||
            return 1
        written["$data/playlist-$entries.m3u"]=$(sed -n 's/.* \([0-9]*\) distinct http(s) addresses.*/\1/p' <<<"$summary")
    done

    local files=("$data/playlist-10k.m3u" "$data/playlist-100k.m3u")
    if [ -d "$fixtures/m3u" ]; then
        local largest
        while read -r largest; do files+=("$largest"); done < <(
            find "$fixtures/m3u" -type f \( -name '*.m3u' -o -name '*.m3u8' \) -printf '%s\t%p\n' |
                sort -rn | head -n 3 | cut -f2)
    else
        echo "Real playlists skipped: $fixtures/m3u is not there."
    fi

    local node_parser="$root/bench/node/parse.js"
    local node_ready=yes
    if ! command -v node >/dev/null 2>&1; then
        node_ready="node is not installed"
    elif [ ! -f "$root/bench/node/node_modules/iptv-playlist-parser/package.json" ]; then
        node_ready="iptv-playlist-parser is not installed (scripts/install-deps.sh runs npm ci in bench/node)"
    fi
    if [ "$node_ready" != yes ]; then
        echo "The node column is skipped: $node_ready."
    else
        echo "node $(node --version), iptv-playlist-parser $(node -p "require('$root/bench/node/node_modules/iptv-playlist-parser/package.json').version")"
    fi
    echo "Median of $runs timed parses after a first one; MB = 10^6 bytes of the UTF-8 file; decode = UTF-8 to string;"
    echo "cpu ms = median process CPU time of a parse (steadier than wall time when the machine is shared);"
    echo "peak = resident growth during the first parse / file size; speed = node's median time / ours (wall; cpu);"
    echo "floor = UTF-8 decoding plus the SHA-256 of every kept address, timed in the same run (cpu ms); x floor = our cpu / floor's;"
    echo "channels = what M3UParser keeps (distinct http(s) addresses); items = what iptv-playlist-parser returns."

    local format="%-42s %5s %7s | %6s %9s %8s %7s %6s %9s %8s %6s %6s %7s | %6s %8s %7s %6s %9s %7s %6s | %6s %6s\n"
    # shellcheck disable=SC2059 # the format is ours: one table layout for every row
    printf "$format" "playlist" "MB" "entries" \
        "decode" "Quenvo ms" "best ms" "cpu ms" "MB/s" "entries/s" "channels" "peak" "floor" "x floor" \
        "decode" "node ms" "cpu ms" "MB/s" "entries/s" "items" "peak" "speed" "cpu"

    local file name ours theirs status=0
    local target_speed="-" target_cpu="-" target_peak="-" target_floor="-"
    for file in "${files[@]}"; do
        name="${file#"$fixtures/m3u/"}"
        name="${name#"$data/"}"
        if ! ours=$("$bin/quenvo-bench-m3u" --line --runs "$runs" "$file" 2>&1); then
            printf '%-42s failed: %s\n' "$name" "$ours"
            status=1
            continue
        fi
        theirs=""
        if [ "$node_ready" = yes ]; then
            theirs=$(node --expose-gc "$node_parser" --line --runs "$runs" "$file" 2>/dev/null) || theirs="failed"
        fi

        local speed cpu_speed
        speed=$(calc 'sprintf("%.2fx", b / a)' "$(field "$ours" parse_median_ms)" "$(field "$theirs" parse_median_ms)")
        cpu_speed=$(calc 'sprintf("%.2fx", b / a)' "$(field "$ours" parse_cpu_median_ms)" \
            "$(field "$theirs" parse_cpu_median_ms)")
        # shellcheck disable=SC2059
        printf "$format" "$name" \
            "$(calc 'sprintf("%.1f", a / 1e6)' "$(field "$ours" bytes)")" "$(field "$ours" entries)" \
            "$(field "$ours" decode_median_ms)" "$(field "$ours" parse_median_ms)" "$(field "$ours" parse_best_ms)" \
            "$(field "$ours" parse_cpu_median_ms)" "$(field "$ours" mb_per_s)" "$(field "$ours" entries_per_s)" \
            "$(field "$ours" channels)" "$(calc 'sprintf("%.2fx", a)' "$(field "$ours" peak_ratio)")" \
            "$(field "$ours" floor_cpu_median_ms)" "$(calc 'sprintf("%.2fx", a)' "$(field "$ours" floor_cpu_ratio)")" \
            "$(field "$theirs" decode_median_ms)" "$(field "$theirs" parse_median_ms)" \
            "$(field "$theirs" parse_cpu_median_ms)" "$(field "$theirs" mb_per_s)" "$(field "$theirs" entries_per_s)" \
            "$(field "$theirs" channels)" "$(calc 'sprintf("%.2fx", a)' "$(field "$theirs" peak_ratio)")" \
            "$speed" "$cpu_speed"
        if [ -n "${written[$file]:-}" ] && [ "$(field "$ours" channels)" != "${written[$file]}" ]; then
            echo "  M3UParser kept $(field "$ours" channels) channels, but the file holds ${written[$file]} distinct http(s) addresses"
            status=1
        fi
        if [ "$file" = "$data/playlist-100k.m3u" ]; then
            target_speed=$speed
            target_cpu=$cpu_speed
            target_floor="$(field "$ours" floor_cpu_median_ms) ms, ours $(calc 'sprintf("%.2fx", a)' "$(field "$ours" floor_cpu_ratio)") of it"
            target_peak=$(calc 'sprintf("%.2fx", a)' "$(field "$ours" peak_ratio)")
        fi
    done

    local cpu_verdict peak_verdict
    cpu_verdict=$(calc '(a + 0 >= 5) ? "met" : "NOT met"' "${target_cpu%x}")
    peak_verdict=$(calc '(a + 0 < 3) ? "met" : "NOT met"' "${target_peak%x}")
    echo "Targets on the 100k playlist: CPU time >= 5x node's: $target_cpu (${cpu_verdict/-/unknown}; wall $target_speed);" \
        "peak memory < 3x the file: $target_peak (${peak_verdict/-/unknown}); floor in the same run: $target_floor."
    return $status
}

# ---------------------------------------------------------------------------------------------------
# The benchmarks, one line each: register "<build targets>" "<title>" <command> [arguments…]
# The command runs from the repository root after the build; $bin holds the built executables, $runs
# the number of timed runs. A shell function used as a command runs without `set -e` (it is called
# under `||`): let it return non-zero itself when something fails.

targets=()
titles=()
commands=()
only=("$@")
register() {
    if [ "${#only[@]}" -gt 0 ]; then
        local word wanted=no
        for word in "${only[@]}"; do
            [[ $2 == *"$word"* ]] && wanted=yes
        done
        [ "$wanted" = yes ] || return 0
    fi
    # shellcheck disable=SC2206 # several targets in one word, split on purpose
    targets+=($1)
    titles+=("$2")
    shift 2
    commands+=("$(printf '%q ' "$@")")
}

register "quenvo-playlistgen quenvo-bench-m3u" "M3U parse: M3UParser vs iptv-playlist-parser" m3u_parse_comparison
register "quenvo-bench-xtream" "Xtream loading: XtreamReaders vs JSON.parse in node" "$bin/xtream/quenvo-bench-xtream" --runs "$runs" --data "$data" --fixtures "$fixtures"
register "quenvo-bench-channel-list" "Channel list: search, category and favourites over 100,000 channels" "$bin/models/quenvo-bench-channel-list" --runs "$runs"
register "quenvo-bench-guide" "Programme guide: XmltvParser vs @iptv/xmltv and epg-parser, the kept window, matching 100,000 channels" "$bin/guide/quenvo-bench-guide" --runs "$runs" --data "$data" --fixtures "$fixtures"
register "quenvo-bench-load" "Loading end to end: 100,000-channel M3U and 50,000-channel Xtream account through the library model, and the main thread's longest stall" "$bin/load/quenvo-bench-load" --runs "$runs"
register "quenvo-bench-playback" "Playback: zapping against bare libVLC, and 200 rapid switches" "$bin/playback/quenvo-bench-playback" --runs 5 --switches 200

# ---------------------------------------------------------------------------------------------------

bash "$root/scripts/install-deps.sh"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
if ! ninja -C "$build" -j"$jobs" "${targets[@]}" >"$build/bench-build.log" 2>&1; then
    cat "$build/bench-build.log"
    echo "bench: the build failed" >&2
    exit 1
fi

echo "Quenvo benchmarks, $(date -u '+%Y-%m-%d %H:%M UTC'), $(nproc) cores," \
    "$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)"
echo "Load average before: $(cut -d' ' -f1-3 /proc/loadavg) (other work on the machine skews the times)"

failed=()
for i in "${!titles[@]}"; do
    section "${titles[$i]}"
    eval "${commands[$i]}" || failed+=("${titles[$i]}")
done

echo
echo "Load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
if [ "${#failed[@]}" -gt 0 ]; then
    printf 'Failed: %s\n' "${failed[@]}"
    exit 1
fi
