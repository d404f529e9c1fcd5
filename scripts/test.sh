#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite twice: in the normal build
# (GCC) and in an AddressSanitizer + UndefinedBehaviorSanitizer build (clang, which also runs the
# fuzzers for a bounded time). Warnings are errors in both. Build folders are reused between runs.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$QUENVO_ROOT/scripts/install-deps.sh"

run_suite() {
    local dir="$1"
    echo "== $dir: building"
    ninja -C "$QUENVO_ROOT/$dir" -j "$QUENVO_JOBS" --quiet
    echo "== $dir: testing"
    (cd "$QUENVO_ROOT/$dir" && ctest --output-on-failure -j "$QUENVO_JOBS" --timeout 600)
}

start=$SECONDS
configure_main_build
run_suite build

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$QUENVO_ROOT/tests/sanitizer/lsan.supp:print_suppressions=0"
configure_sanitizer_build
run_suite build-asan

echo "== all tests passed in both builds ($((SECONDS - start)) s)"
