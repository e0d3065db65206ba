# shellcheck shell=bash disable=SC2034,SC2154
# Sourced by scripts/wine: what a program sees of this machine, and which Wine runs it.

# Adds a folder to `visible` unless a folder that is already there holds it: a second mount of the
# same place would make moves between the two fail as if they were different disks.
add_visible() {
    is_visible "$1" || visible+=("$1")
}

is_visible() {
    local folder
    for folder in "${visible[@]}"; do
        [[ $1/ == "$folder"/* ]] && return 0
    done
    return 1
}

# Fills `enter`, the command that steps into what programs see, and `wine`, `wineserver` in there;
# sets `stamp`, which names the Wine.
choose_wine() {
    visible=(/tmp)
    add_visible "$project"
    local folders folder
    IFS=: read -r -a folders <<<"${WINE_BIND:-}"
    for folder in "${folders[@]}"; do
        [[ -d $folder ]] || die "no such folder in WINE_BIND: $folder"
        add_visible "$(cd -P -- "$folder" && pwd)"
    done
    add_visible "$prefix"

    export WINEPREFIX=$prefix WINEDEBUG=${WINEDEBUG--all}
    # Not exported from here: bash would look for the locale on this machine.
    local locale=${LC_ALL:-C.UTF-8}
    find_other_wine
    if [[ -n $other_wine ]]; then
        enter_system
    else
        enter_root
    fi
}

# The private root: nothing of this machine but the visible folders, and none of root's privileges.
enter_root() {
    [[ -r $wine_root/etc/branded-setup ]] || die "no private root yet; run scripts/setup"
    read -r stamp <"$wine_root/etc/branded-setup"
    local folder
    enter=(bwrap --cap-drop ALL --tmpfs / --ro-bind "$wine_root/usr" /usr
        --ro-bind "$wine_root/etc" /etc --ro-bind "$wine_root/var/lib" /var/lib
        --ro-bind "$wine_root/var/cache" /var/cache
        --symlink usr/bin /bin --symlink usr/sbin /sbin --symlink usr/lib /lib
        --symlink usr/lib64 /lib64 --dir /run --dev /dev --proc /proc
        --setenv HOME "$prefix/home" --setenv PATH /usr/bin
        --setenv LC_ALL "$locale" --unsetenv XDG_RUNTIME_DIR --unsetenv XDG_CACHE_HOME)
    for folder in "${visible[@]}"; do
        enter+=(--bind "$folder" "$folder")
    done
    enter+=(--remount-ro /)
    wine=/usr/lib/wine/wine
    wineserver=/usr/bin/wineserver
}

# The system itself, without root's privileges: a read-only file refuses writing as on Windows.
enter_system() {
    enter=(env -u XDG_RUNTIME_DIR -u XDG_CACHE_HOME "LC_ALL=$locale" "HOME=$prefix/home")
    [[ ! -d $cache/system ]] || enter+=("LOCPATH=$cache/system/usr/lib/locale")
    ! can_drop_privileges || enter=(setpriv --inh-caps=-all --bounding-set=-all "${enter[@]}")
    wine=$other_wine
    wineserver=wineserver
    [[ $wine == */* && -x ${wine%/*}/wineserver ]] && wineserver=${wine%/*}/wineserver
    stamp=other-${wine//\//-}${other_version:+-$other_version}
    command -v Xvfb >/dev/null || die "a Wine of your own needs Xvfb beside it, none was found"
}

# Read instead of tried, since it is asked for every program: bit 8 is CAP_SETPCAP.
can_drop_privileges() {
    local name value
    ((UID == 0)) || return 1
    while read -r name value; do
        [[ $name != CapEff: ]] || break
    done </proc/self/status
    ((0x$value & 0x100))
}

# Says what is missing where the private root is of no use.
check_view() {
    [[ -n $other_wine ]] || has_namespaces || die "$no_namespaces; run scripts/setup"
}
