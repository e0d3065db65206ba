# shellcheck shell=bash disable=SC2034
# Sourced by the scripts beside it. Sets `project` (the real path of the source tree) and `cache`
# (the user's cache folder of this project) without starting a process: scripts/wine runs for every
# Windows program, so each fork counts.

_called_from=$PWD
cd -P -- "${BASH_SOURCE[0]%/*}/.." || exit
project=$PWD
cd -- "$_called_from" || exit
cache=${XDG_CACHE_HOME:-$HOME/.cache}/branded-setup
wine_root=$cache/wine-root

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }

die() {
    say "$*"
    exit 1
}

# Prints the comment block at the head of the calling script, which is its help text.
show_help() {
    local line
    while IFS= read -r line; do
        [[ $line == '#!'* ]] && continue
        [[ $line == '#'* ]] || break
        line=${line#\#}
        printf '%s\n' "${line# }"
    done <"$0"
}
