# Shared by ./run, ./test and .ci/run: installs what is missing and builds. Sourced, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# What the build and the programs need, as Debian 12 names it.
packages=(
    g++ cmake ninja-build ccache pkg-config python3 ca-certificates
    libboost1.81-dev libboost-thread1.81-dev libboost-regex1.81-dev libboost-filesystem1.81-dev
    libboost-locale1.81-dev gettext rapidjson-dev libtbb-dev liblog4cplus-dev libexpat1-dev libxml2-dev
    libsqlite3-dev libfmt-dev libcli11-dev libtsl-ordered-map-dev zlib1g-dev libsodium-dev libxxhash-dev
    libgtest-dev libgmock-dev libbenchmark-dev
)

say() { printf '%s\n' "$*" >&2; }

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        say "Needs root or sudo for: $*"
        return 1
    fi
}

installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed'; }

# install_packages NAME...: those that are missing, in one go.
install_packages() {
    local missing=() name
    for name in "$@"; do
        installed "$name" || missing+=("$name")
    done
    [ ${#missing[@]} = 0 ] && return 0
    say "Installing: ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { as_root apt-get update -qq &&
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"; } \
        >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# Node.js from wherever it is, else Debian's own.
install_node() {
    command -v node >/dev/null && command -v npm >/dev/null && return 0
    install_packages nodejs npm
}

# Builds the page into web/dist, if its sources are newer than the last build.
build_web() {
    install_node
    local stamp=$root/web/dist/index.html
    if [ ! -d "$root/web/node_modules" ] || [ "$root/web/package-lock.json" -nt "$root/web/node_modules/.package-lock.json" ]; then
        say "Installing the page's packages"
        (cd "$root/web" && npm ci --no-audit --no-fund --loglevel=error) >&2
    fi
    if [ ! -f "$stamp" ] ||
        [ -n "$(find "$root/web" -path "$root/web/node_modules" -prune -o -path "$root/web/dist" -prune -o \
            -type f -newer "$stamp" -print -quit)$(find "$root/docs/help" -newer "$stamp" -print -quit)" ]; then
        say "Building the page"
        (cd "$root/web" && npm run --silent build) >&2
        # The page links to the help, which the relay serves from the same folder.
        cp -r "$root/docs/help" "$root/web/dist/help"
    fi
}

# build_native PRESET [TARGET...]: configures once, or again if PANEDECK_CMAKE_ARGUMENTS says how, then builds
# incrementally.
build_native() {
    local preset=$1
    shift
    local log=$root/build/$preset.log
    mkdir -p "$root/build"
    if [ ! -f "$root/build/$preset/build.ninja" ] || [ -n "${PANEDECK_CMAKE_ARGUMENTS:-}" ]; then
        say "Configuring build/$preset"
        (cd "$root" && cmake --preset "$preset" ${PANEDECK_CMAKE_ARGUMENTS:-}) >"$log" 2>&1 || {
            tail -n 40 "$log" >&2
            return 1
        }
    fi
    say "Building build/$preset${*:+ ($*)}"
    local targets=()
    [ $# -gt 0 ] && targets=(--target "$@")
    (cd "$root" && cmake --build "build/$preset" "${targets[@]}") >"$log" 2>&1 || {
        grep -E 'error|FAILED|warning' "$log" | head -n 40 >&2
        tail -n 20 "$log" >&2
        return 1
    }
}
