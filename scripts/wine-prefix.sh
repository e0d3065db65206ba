# shellcheck shell=bash disable=SC2034,SC2154
# Sourced by scripts/wine: the Windows installation in a prefix, and the stand-ins in it.

# Raised with every change of make_template, so that no older one is used.
template_version=2

# A prefix takes 10 seconds to make and half a second to copy: it is made once for every root.
make_template() {
    local template=$1 work=$1.$$
    # Others are what interrupted runs left: the caller holds the lock.
    rm -rf "$template".*
    mkdir -p "$work/home"
    say "making the Windows installation that all prefixes are copied from"
    local saved=$prefix
    prefix=$work
    LC_ALL=C.UTF-8 choose_wine
    local overrides='HKCU\Software\Wine\DllOverrides'
    local machine='HKLM\System\CurrentControlSet\Control\Session Manager\Environment'
    (
        cd /tmp
        export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d'
        exec </dev/null >/dev/null 2>&1 9>&-
        unset DISPLAY
        "${enter[@]}" "$wine" wineboot -i
        # No menu entries on the machine itself, no offers to download components, quick crashes.
        for name in winemenubuilder.exe winedbg.exe mscoree mshtml; do
            "${enter[@]}" "$wine" reg add "$overrides" /v "$name" /d '' /f
        done
        # The caller's folder for temporary files would yield to these.
        for name in TMP TEMP; do
            "${enter[@]}" "$wine" reg delete 'HKCU\Environment' /v "$name" /f
            "${enter[@]}" "$wine" reg delete "$machine" /v "$name" /f
        done
        "${enter[@]}" "$wineserver" -k
    ) || die "Wine could not make a prefix"
    # What a program does to the user's documents must not reach outside the prefix.
    local link
    for link in "$work"/drive_c/users/*/*; do
        [[ -L $link ]] && rm "$link" && mkdir "$link"
    done
    # Names the template's own server.
    rm -f "$work/wineserver"
    [[ -f $work/system.reg && -f $work/drive_c/windows/syswow64/kernel32.dll ]] ||
        die "Wine made no prefix with a 32-bit side"
    mv -T "$work" "$template" 2>/dev/null || rm -rf "$work"
    prefix=$saved
    choose_wine
}

fill_prefix() {
    local template=$cache/wine-prefix-$stamp-$template_version
    mkdir -p "$cache"
    exec 8>"$cache/wine-prefix.lock"
    flock -w 180 8 || die "another process holds $cache/wine-prefix.lock"
    [[ -d $template ]] || make_template "$template" 8>&-
    exec 8>&-
    say "making the prefix $prefix"
    : >"$session/filling"
    cp -a "$template/." "$prefix/"
    rm "$session/filling"
}

# Sets `standins` to the files of the stand-ins: what this Windows lacks and programs ask for.
list_standins() {
    standins=()
    local config
    for config in release check; do
        standins_folder=$project/build/$config/standins
        standins=("$standins_folder"/*.dll "$standins_folder"/*.exe)
        [[ ${#standins[@]} -gt 0 ]] && break
    done
    [[ ${#standins[@]} -gt 0 && -x $project/standins/install ]] || standins=()
    [[ ${#standins[@]} -eq 0 ]] || standins+=("$project"/standins/{install,standins.reg})
}

standins_are_current() {
    [[ -n $raw ]] && return 0
    local file
    for file in "${standins[@]}"; do
        [[ $file -nt $session/standins ]] && return 1
    done
    return 0
}

install_standins() {
    local sum
    sum=$(sha256sum "${standins[@]}" | sha256sum)
    if [[ ! -r $session/standins || $sum != "$(<"$session/standins")" ]]; then
        say "installing the stand-ins"
        (cd /tmp && "$project/standins/install" "$prefix" "$standins_folder" \
            </dev/null >&2 9>&-) || die "the stand-ins could not be installed"
    fi
    printf '%s\n' "$sum" >"$session/standins"
}

has_prefix() { [[ -f $prefix/system.reg && ! -e $session/filling ]]; }
