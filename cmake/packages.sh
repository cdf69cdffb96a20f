# shellcheck shell=bash
# Sourced by the scripts at the root and in bench/.

# install_missing_packages LIST PURPOSE...: installs the packages of LIST that carry one of the purposes and are
# not installed yet. Costs one query when nothing is missing.
install_missing_packages() {
    local list=$1 name purpose wanted=() missing=()
    shift
    while read -r name purpose _; do
        [[ -z $name || $name == '#'* || " $* " != *" $purpose "* ]] || wanted+=("$name")
    done <"$list"

    local installed
    # shellcheck disable=SC2016  # dpkg-query's own variables
    installed=$(dpkg-query -W -f '${binary:Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null || true)
    for name in "${wanted[@]}"; do
        grep -Eq "^${name//+/\\+}(:[a-z0-9]+)? installed$" <<<"$installed" || missing+=("$name")
    done
    ((${#missing[@]} > 0)) || return 0

    local as_root=()
    if ((EUID != 0)); then
        command -v sudo >/dev/null || {
            printf 'These packages are missing, and there is no sudo to install them: %s\n' "${missing[*]}" >&2
            return 1
        }
        as_root=(sudo)
    fi
    printf 'Installing %s\n' "${missing[*]}" >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}
