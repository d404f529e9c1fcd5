# Shared by the scripts: where things are, and how each build folder is configured.
# Sourced, not run.
QUENVO_ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
QUENVO_JOBS="${QUENVO_JOBS:-$(nproc)}"

# configure_build <folder> <cmake arguments…>: configures once, reconfigures only when needed.
configure_build() {
    local dir="$1"; shift
    cmake -S "$QUENVO_ROOT" -B "$QUENVO_ROOT/$dir" -G Ninja "$@" >/dev/null
}

configure_main_build() {
    configure_build build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUENVO_WARNINGS_AS_ERRORS=ON \
        -DCMAKE_CXX_COMPILER=g++
}

configure_sanitizer_build() {
    configure_build build-asan -DCMAKE_BUILD_TYPE=Debug -DQUENVO_SANITIZE=ON -DQUENVO_WARNINGS_AS_ERRORS=ON \
        -DQUENVO_BUILD_BENCH=OFF -DCMAKE_CXX_COMPILER=clang++
}
