# Sourced by test, demo and .ci/run: reports each step and installs the Debian packages that are missing.
# The caller has changed to the root of the project.

build_packages=(g++ cmake ninja-build libpugixml-dev libcli11-dev nlohmann-json3-dev libxxhash-dev
    libassimp-dev libgtest-dev libgmock-dev)
fuzz_packages=(clang libclang-rt-14-dev)

say() {
    printf '\n==> %s\n' "$*"
}

# Shows a command, then runs it.
show() {
    printf '\n$ %s\n' "$*"
    "$@"
}

# require_packages PACKAGE...: installs those that are missing, as root or through sudo.
require_packages() {
    local package missing=() as_root=()
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        say "No Debian packages on this system; going on with what is here. Needed are what Debian calls: $*"
        return
    fi
    for package in "$@"; do
        if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        say "All needed packages are installed"
        return
    fi
    if [ "$(id -u)" -ne 0 ]; then
        # sudo may ask for a password where there is a terminal to ask on.
        if command -v sudo >/dev/null && { [ -t 0 ] || sudo -n true 2>/dev/null; }; then
            as_root=(sudo)
        else
            say "Packages are missing, and this is neither root nor a user who may sudo. Please install:" >&2
            echo "apt-get install ${missing[*]}" >&2
            exit 1
        fi
    fi
    say "Installing ${missing[*]}"
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
    if ! "${apt[@]}" update || ! "${apt[@]}" install -y --no-install-recommends "${missing[@]}"; then
        say "The packages could not be installed. Please install: ${missing[*]}" >&2
        exit 1
    fi
}

# configure PRESET [OPTION...]: with ccache where it is installed.
configure() {
    local preset=$1 options=("${@:2}")
    if command -v ccache >/dev/null; then
        options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    cmake --preset "$preset" "${options[@]}"
}
