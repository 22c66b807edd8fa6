# What the project's scripts share; sourced by bash. They ask no questions and read nothing from standard input.
set -euo pipefail
exec </dev/null

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
jobs=${TARVOK_JOBS:-$(nproc)}
cd -- "$root"

say() {
    printf '\n== %s\n' "$*"
}

fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif ! command -v sudo >/dev/null; then
        fail "needs root or sudo for: $*"
    elif sudo -n true 2>/dev/null; then
        sudo -n "$@"
    elif [ -t 2 ]; then
        sudo "$@" # the password is the one thing that can't be known; sudo takes it from the terminal
    else
        fail "sudo wants a password and there is no terminal; as root run: $*"
    fi
}

# need GROUP...: installs what is missing of these groups of scripts/packages; with nothing missing, no apt call.
need() {
    local group wanted=() missing=() package
    for group in "$@"; do
        while read -r package; do
            wanted+=("$package")
        done < <(awk -v group="$group" '$1 == group { print $2 }' scripts/packages)
    done
    for package in "${wanted[@]}"; do
        case $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true) in
            installed*) ;;
            *) missing+=("$package") ;;
        esac
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    command -v apt-get >/dev/null || fail "needs these Debian packages: ${missing[*]}"
    say "installing ${missing[*]}"
    as_root apt-get -o DPkg::Lock::Timeout=300 -q update
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 -q -y \
        --no-install-recommends install "${missing[@]}"
}

# build PRESET [TARGET...]: configures and builds; everything unless targets are named.
build() {
    local preset=$1 launcher=()
    shift
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    say "building ($preset)"
    cmake --preset "$preset" "${launcher[@]}" --log-level=WARNING
    cmake --build "build/$preset" --parallel "$jobs" ${1:+--target "$@"}
}
