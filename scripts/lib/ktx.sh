# Puts the sources of libktx, which Debian does not package, aside for the build. To be sourced after setup.sh; what is to
# be done with a machine where they cannot be had is the caller's decision.
#
# They lie, with the encoder that libktx needs, in the source package of another program in a newer suite of Debian. Where
# the archive is, the machine's own package configuration says.

ktx_version=4.4.2
ktx_package=godot
ktx_suite=sid
# What is tried first: known to build. Later versions of the package do as well, until one brings another libktx.
ktx_file=pool/main/g/godot/godot_4.6.3+ds.orig.tar.xz
ktx_sha256=2c7f6b7b2566182869d3f50829b8260179137ff169c34026640f9e8f9c3c0506

# ktx_folder: where the sources are or will be. cmake/MvGeoKtx.cmake says the same.
ktx_folder()
{
    echo "${MVGEO_KTX_CACHE:-${XDG_CACHE_HOME:-${HOME:-}/.cache}/mvgeothirdparty/ktx-$ktx_version}"
}

# ktx_is_there FOLDER
ktx_is_there()
{
    [ -f "$1/libktx/include/ktx.h" ] && [ -f "$1/basis_universal/encoder/basisu_comp.h" ]
}

# ktx_archives: prints where Debian's packages come from on this machine, without those for security updates, which have no
# other suites. A machine that has no lists of packages yet does not say what is Debian's: then all are tried.
ktx_archives()
{
    local archives
    archives=$(apt-get indextargets --format '$(ORIGIN)|$(COMPONENT)|$(REPO_URI)' 2>/dev/null |
        sed -n 's,^Debian|main|,,p' | grep -v security | sort -u || true)
    [ -n "$archives" ] ||
        archives=$(apt-get update --print-uris 2>/dev/null | sed -n "s,^'\([^']*\)/dists/.*,\1/,p" | grep -v security | sort -u || true)
    [ -z "$archives" ] || echo "$archives"
}

# ktx_download ADDRESS FILE SHA256: apt's own helper knows about proxies and checks the sum.
ktx_download()
{
    local helper
    helper=$(dirname "$(command -v apt-get)")/../lib/apt/apt-helper
    [ -x "$helper" ] && "$helper" -qq download-file "$1" "$2" "SHA256:$3" >/dev/null 2>&1
}

# ktx_download_pinned ARCHIVE FILE
ktx_download_pinned()
{
    ktx_download "${1%/}/$ktx_file" "$2" "$ktx_sha256"
}

# ktx_download_current ARCHIVE FILE: what the suite has now, by the sum in its signed list. The machine's own lists of
# packages stay as they are.
ktx_download_current()
{
    local folder=$2.apt keys=/usr/share/keyrings/debian-archive-keyring.gpg apt address sum
    mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial" || return 1
    [ -f "$keys" ] && keys="[signed-by=$keys] " || keys=''
    echo "deb-src $keys$1 $ktx_suite main" 2>/dev/null >"$folder/source.list" || return 1
    apt=(apt-get -qq -o Dir::Etc::SourceList="$folder/source.list" -o Dir::Etc::SourceParts=-
         -o Dir::State::Lists="$folder/lists" -o Dir::Cache="$folder/cache" -o Acquire::Languages=none
         -o APT::Sandbox::User=)
    "${apt[@]}" update >/dev/null 2>&1 || return 1
    # 'address' name size SHA256:sum
    read -r address sum < <("${apt[@]}" source --print-uris "$ktx_package" 2>/dev/null |
        sed -n "s,^'\([^']*\)' [^ ]*\.orig\.tar\.[a-z0-9]* [0-9]* SHA256:\([0-9a-f]*\)\$,\1 \2,p")
    ktx_download "$address" "$2" "$sum"
}

# ktx_unpack FILE FOLDER: the two folders that are needed.
ktx_unpack()
{
    mkdir -p "$2" &&
        tar -xf "$1" -C "$2" --strip-components=2 --wildcards \
            '*/thirdparty/libktx' '*/thirdparty/basis_universal' 2>/dev/null &&
        ktx_is_there "$2" && touch "$2"
}

# ktx_get FOLDER DRAFT: sets ktx_reason if it fails.
ktx_get()
{
    local archive way archives
    ktx_reason="its sources could not be got from the package archive to ${2%/*} ($ktx_file, or $ktx_package in $ktx_suite)"
    mapfile -t archives < <(ktx_archives)
    for way in ktx_download_pinned ktx_download_current; do
        for archive in "${archives[@]}"; do
            "$way" "$archive" "$2/sources" || continue
            if ktx_unpack "$2/sources" "$2/unpacked"; then
                # Whoever was quicker has the same.
                mv -T "$2/unpacked" "$1" 2>/dev/null || ktx_is_there "$1" && return
                ktx_reason="$1 is in the way: it is not empty and not complete"
                return 1
            fi
            ktx_reason="its sources could not be unpacked in ${2%/*}"
            rm -rf "$2/unpacked"
        done
    done
    return 1
}

# fetch_ktx: fills the folder if it is not there yet, completely or not at all. Says why and returns 1 if it cannot.
fetch_ktx()
{
    local folder parent draft ktx_reason='' result=0
    folder=$(ktx_folder)
    ktx_is_there "$folder" && return
    parent=$(dirname "$folder")
    if ! command -v apt-get >/dev/null; then
        ktx_reason="this system has no apt-get to get its sources"
        result=1
    elif ! mkdir -p "$parent" 2>/dev/null || ! draft=$(mktemp -d "$parent/draft.XXXXXX" 2>/dev/null); then
        ktx_reason="nothing can be written to $parent"
        result=1
    else
        echo "Getting the sources of libktx $ktx_version"
        ktx_get "$folder" "$draft" || result=1
        rm -rf "$draft"
    fi
    [ $result -eq 0 ] || echo "KTX textures will be left out: libktx is not installed, and $ktx_reason." >&2
    return $result
}

# ktx_is_installed: a complete one, with its CMake package.
ktx_is_installed()
{
    local prefix prefixes
    IFS=: read -r -a prefixes <<<"${CMAKE_PREFIX_PATH:-}"
    for prefix in "${prefixes[@]}" /usr /usr/local; do
        compgen -G "$prefix/lib*/cmake/ktx/KtxConfig.cmake" >/dev/null && return
        compgen -G "$prefix/lib/*/cmake/ktx/KtxConfig.cmake" >/dev/null && return
    done
    [ -n "${Ktx_DIR:-}" ]
}

# prepare_ktx: what build() calls, cheap when nothing is to be done. Without libktx the build goes on.
prepare_ktx()
{
    ktx_is_there "$(ktx_folder)" || ktx_is_installed || fetch_ktx || true
}
