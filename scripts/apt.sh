# shellcheck shell=bash disable=SC2034
# Sourced by scripts/setup and scripts/fresh: the machine's packages.

as_root() {
    if ((UID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "root is needed for: $*"
    fi
}

update_package_lists() {
    [[ -z ${lists_are_new:-} ]] || return 0
    as_root apt-get -q update || die "apt-get update failed; is a package mirror configured?"
    lists_are_new=1
}

print_mirror() {
    # apt's own report covers all the forms a list of sources may have.
    # shellcheck disable=SC2016 # for apt-get
    apt-get indextargets --format '$(LABEL)|$(SITE)' 'Created-By: Packages' 2>/dev/null |
        sed -n '/^Debian|/{s/^Debian|//p;q}'
}

# Sets `mirror` to a Debian archive.
find_mirror() {
    mirror=${DEBIAN_MIRROR:-$(print_mirror)}
    [[ -n $mirror ]] || update_package_lists
    [[ -n $mirror ]] || mirror=$(print_mirror)
    [[ -n $mirror ]] || die "apt knows no Debian archive; name one in DEBIAN_MIRROR"
}
