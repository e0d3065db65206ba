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

# Can bubblewrap give a program a view of its own?
has_namespaces() { bwrap --cap-drop ALL --ro-bind / / --dev /dev --proc /proc true 2>/dev/null; }
no_namespaces='bubblewrap cannot make namespaces here, as in a plain chroot or a container without rights'

# Sets `other_wine` to the Wine to use instead of the one in the private root, nothing if that is to
# be used: the caller's choice, or the system's own Wine where scripts/setup noted it.
find_other_wine() {
    other_wine=${WINE_COMMAND:-} other_version=
    [[ -n $other_wine ]] ||
        { read -r other_wine other_version <"$cache/system/wine"; } 2>/dev/null || true
}

# parse_options NAMES ARGUMENTS...: `--some-name VALUE` sets the variable some_name when NAMES, one
# word, holds some-name; some-name* adds the value to an array; some-name! takes none and sets the
# variable to the option itself. Where NAMES holds `...`, the other words go into the array
# `operands`; --help is answered.
parse_options() {
    # No name that an option may have.
    local _known=" $1 " _name
    operands=()
    while shift && [[ $# -gt 0 ]]; do
        _name=${1#--}
        case $1 in
            -h | --help) show_help && exit 0 ;;
            --*) ;;
            -?*) _name=-/ ;; # none that is known
            *)
                [[ $_known != *' ... '* ]] || {
                    operands+=("$1")
                    continue
                }
                _name=-/
                ;;
        esac
        if [[ $_known == *" $_name! "* ]]; then
            printf -v "${_name//-/_}" %s "$1"
            continue
        fi
        [[ $_known == *" $_name "* || $_known == *" $_name* "* ]] ||
            die "unknown option $1; see ${0#"$project"/} --help"
        [[ -n ${2:-} ]] || die "no value behind $1"
        if [[ $_known == *" $_name "* ]]; then
            printf -v "${_name//-/_}" %s "$2"
        else
            local -n _list=${_name//-/_}
            _list+=("$2")
        fi
        shift
    done
}

# lock_build BUILD: waits until nobody else works on build/BUILD, and keeps others waiting until this
# script ends.
lock_build() {
    [[ ${_locked_build:-} != "$1" ]] || return 0
    mkdir -p "$project/build"
    exec 7>"$project/build/.$1.lock"
    flock 7
    _locked_build=$1
}

# build_targets BUILD [TARGET...]: brings programs up to date, by their paths in build/BUILD; without
# targets all of it. Where programs were copied to their places and nothing was built they are taken
# as they are: who only makes products needs no compiler.
build_targets() {
    local build=$1 made=$project/build/$1 target missing=
    shift
    if [[ ! -f $made/build.ninja ]]; then
        for target in "$@"; do
            [[ -f $made/$target ]] || missing=1
        done
        [[ $# -eq 0 || -n $missing ]] || return 0
    fi
    (
        lock_build "$build"
        if [[ ! -f $made/build.ninja || $project/CMakePresets.json -nt $made/build.ninja ]]; then
            say "configuring the build $build"
            (cd "$project" && exec cmake --preset "$build") >"$made.configure.log" 2>&1 7>&- || {
                cat "$made.configure.log"
                die "the build $build could not be configured"
            }
        fi
        ninja --quiet -j "$(nproc)" -C "$made" "$@" 7>&- | sed '/^ninja: no work to do/d' ||
            die "the build $build failed"
    ) >&2 || exit
}
