# What the scripts share: the packages, configuring, building. To be sourced; leaves the shell in the
# checkout's root, so that presets and relative paths work from wherever the script was called.

CDPATH='' cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit
jobs=$(nproc 2>/dev/null || echo 2)

# By their names in Debian 12. The Mesa packages are the software renderer: pictures need no graphics card and no display.
build_packages=(
    g++ cmake ninja-build pkg-config
    libopenscenegraph-dev libgdal-dev libgeos-dev libegl-dev libgl-dev libssl-dev libsqlite3-dev
    libzstd-dev libtinyexr-dev xz-utils
    libcli11-dev nlohmann-json3-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    libegl-mesa0 libgl1-mesa-dri)
# The sanitizers' builds: Clang brings libFuzzer, and GCC's OpenMP runtime would be reported as one long race.
clang_packages=(clang libclang-rt-dev libomp-dev lld)
# Compiles the Windows half of the platform code with its tests, and runs them.
windows_packages=(g++-mingw-w64-x86-64-posix googletest wine wine64)

fail()
{
    echo "${0##*/}: $*" >&2
    exit 1
}

# missing_packages PACKAGE...: prints those that are not installed.
missing_packages()
{
    local installed package
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF "installed $package" <<<"$installed" || echo "$package"
    done
}

# Without Debian's tools nothing can be installed, but what CMake would only complain about later can be said now.
check_tools()
{
    local tool missing=()
    for tool in g++ cmake ninja pkg-config; do
        command -v "$tool" >/dev/null || missing+=("$tool")
    done
    [ ${#missing[@]} -eq 0 ] && return
    fail "this system has no apt-get to install what is missing: ${missing[*]}. Needed are also the development files" \
         "of OpenSceneGraph 3.6, GDAL 3, GEOS 3.10, EGL, OpenGL, OpenSSL, SQLite 3, CLI11, nlohmann-json 3, GoogleTest and Google Benchmark."
}

# install_packages PACKAGE...: asks the package archive only if one of them is missing.
install_packages()
{
    if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
        check_tools
        return
    fi
    local missing as_root=()
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -eq 0 ] && return
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || fail "these packages are missing, please have them installed: ${missing[*]}"
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]}"
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get
               -qq -o Acquire::Retries=3 -o DPkg::Lock::Timeout=300)
    # An archive that is partly out of reach may still have what is needed: installing decides.
    "${apt[@]}" update || echo "The list of packages could not be brought up to date." >&2
    "${apt[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null ||
        fail "these packages could not be installed: ${missing[*]}"
}

. scripts/lib/ktx.sh

# Where ccache is installed, what was compiled once is not compiled again; with GCC tests neither.
if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros,include_file_mtime,include_file_ctime}
fi

# build PRESET [ARGUMENT...]: configures if need be (the build itself notices changed CMake files, but not changed
# presets), then builds; the arguments go to the build. libktx that came later than the first build is noticed too.
build()
{
    local preset=$1 folder=build/$1
    shift
    prepare_ktx
    if [ ! -f "$folder/build.ninja" ] || [ CMakePresets.json -nt "$folder/build.ninja" ] ||
        [ "$(ktx_folder)" -nt "$folder/build.ninja" ]; then
        cmake --preset "$preset"
    fi
    cmake --build --preset "$preset" -j "$jobs" "$@"
}
