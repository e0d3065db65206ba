# shellcheck shell=bash disable=SC2034,SC2154
# Sourced by scripts/wine: the server and the screen of a prefix, which outlive the program that
# started them.

# After this many seconds without a program the server ends by itself.
server_linger=1800

# Sets `started` to a running process's start time, so that a number used again is not taken for it.
read_start_time() {
    local stat
    { read -r stat <"/proc/$1/stat"; } 2>/dev/null || return 1
    local fields
    read -r -a fields <<<"${stat##*) }"
    [[ ${fields[0]} != Z ]] || return 1
    started=${fields[19]}
}

# Is the process noted in the session file $1 alive? Sets `pid`, `note` (a word kept with it).
is_alive() {
    local since started
    { read -r pid since note <"$session/$1"; } 2>/dev/null && read_start_time "$pid" &&
        [[ $started == "$since" ]]
}

note_process() {
    local started
    read_start_time "$2" || die "the $1 ended at once"
    printf '%s %s %s\n' "$2" "$started" "${3:-}" >"$session/$1"
}

start_screen() {
    local id display
    # The screen picks a free number itself and tells it once it can be used.
    { read -r -t 30 id && read -r -t 30 display; } < <(
        # shellcheck disable=SC2016
        exec setsid "${enter[@]}" sh -c 'echo $$; exec "$@"' sh \
            Xvfb -displayfd 1 -screen 0 1280x800x24 -nolisten tcp </dev/null 2>/dev/null 9>&-
    ) || die "no virtual screen could be started"
    note_process screen "$id" ":$display"
}

# Sets `pid` to the process that holds the lock file $1.
find_lock_holder() {
    local inode holder place _
    inode=$(stat -c %i "$1" 2>/dev/null) || return 1
    while read -r _ _ _ _ holder place _; do
        [[ ${place##*:} == "$inode" ]] && pid=$holder && return 0
    done </proc/locks
    return 1
}

start_server() {
    # 2 says that a server runs already.
    "${enter[@]}" "$wineserver" "-p$server_linger" </dev/null >/dev/null 2>&1 9>&- ||
        (($? == 2)) || die "the Wine server could not be started"
    # The server names its folder after the prefix's device and file number, both in hex. Debian's
    # puts it into a folder with a random name, which is noted in the prefix.
    local place=.wine-$UID device file
    read -r device file < <(stat -c '%D %i' "$prefix")
    [[ ! -r $prefix/wineserver ]] || place=$(<"$prefix/wineserver")
    printf -v file '/tmp/%s/server-%s-%x/lock' "$place" "$device" "$file"
    find_lock_holder "$file" || die "the Wine server ended at once"
    note_process server "$pid"
    # The system's own processes stay as long as the server. Started by the caller's program they
    # would keep its output open, and whoever reads that through a pipe would wait for them.
    "${enter[@]}" "$wine" cmd /c exit </dev/null >/dev/null 2>&1 9>&- ||
        die "Windows does not start"
}

has_same_view() {
    local seen
    { IFS= read -r seen <"$session/visible"; } 2>/dev/null && [[ $seen == "${visible[*]}" ]]
}

# Everything a program needs: prefix, screen, server, stand-ins. Nothing is started or waited for
# when all is there already.
ensure_session() {
    list_standins
    if ! { has_prefix && is_alive server && has_same_view && is_alive screen &&
        standins_are_current; }; then
        exec 9>"$session/lock"
        flock -w 240 9 || die "another process holds $session/lock"
        check_view
        has_prefix || fill_prefix
        if is_alive server; then
            has_same_view || die "this prefix runs with other folders in WINE_BIND;" \
                "end it first: scripts/wine --stop"
        fi
        printf '%s\n' "${visible[*]}" >"$session/visible"
        if ! is_alive screen; then
            # Programs that run already would go on without a screen.
            ! is_alive server || end_server
            start_screen
        fi
        is_alive screen || die "the virtual screen ended"
        export DISPLAY=$note
        is_alive server || start_server
        standins_are_current || install_standins
        exec 9>&-
    fi
    is_alive screen || die "the virtual screen ended"
    export DISPLAY=$note
}

# Comes back when the server is gone; it saves the registry before it goes.
end_server() {
    "${enter[@]}" "$wineserver" -k </dev/null >/dev/null 2>&1 9>&- || true
}

stop_session() {
    exec 9>"$session/lock"
    flock -w 240 9 || die "another process holds $session/lock"
    end_server
    if is_alive screen; then
        kill "$pid"
        local tries
        for ((tries = 0; tries < 200; tries++)); do
            is_alive screen || break
            read -r -t 0.02 <> <(:) || true
        done
        ! is_alive screen || die "the screen $note does not end"
    fi
    local place=
    [[ ! -r $prefix/wineserver ]] || place=$(<"$prefix/wineserver")
    [[ $place != wine-?????? ]] || rm -rf "/tmp/$place" "$prefix/wineserver"
    rm -f "$session/screen" "$session/server"
    say "stopped $prefix"
}

