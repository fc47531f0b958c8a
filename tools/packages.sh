# Installs Debian packages that are missing; sourced after common.sh.
#
# Debian keeps one version of a package in a stable release and drops it from the archive when a fix comes, so a version
# cannot be asked for by number: the release is the pin. What comes from npm is pinned by checksum (model/fetch.sh).

# missing_packages LIST...: the packages of the lists that are not installed, one a line.
missing_packages() {
    local list package command
    local -a wanted=()
    for list in "$@"; do
        while read -r package command _; do
            [ -n "$command" ] && command -v "$command" >/dev/null && continue
            wanted+=("$package")
        done < <(sed 's/#.*//' "$root/tools/packages-$list.txt" | grep '[^[:space:]]')
    done
    # dpkg-query gives the installed ones of those it is asked for; the others are missing.
    comm -23 <(printf '%s\n' "${wanted[@]}" | sort -u) \
        <(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "${wanted[@]}" 2>/dev/null |
            sed -n 's/^installed //p' | sort -u)
}

# why PACKAGE LIST...
why() {
    local package=$1 list
    shift
    for list in "$@"; do
        sed -n "s/^${package//+/\\+}[[:space:]].*# *//p" "$root/tools/packages-$list.txt"
    done | head -n 1
}

# install_packages LIST...: apt-get is called only when something is missing.
install_packages() {
    local package
    local -a missing as_root=()
    mapfile -t missing < <(missing_packages "$@")
    [ "${#missing[@]}" -gt 0 ] || return 0
    command -v apt-get >/dev/null ||
        fail "these Debian packages are needed, and this system has no apt-get to install them: ${missing[*]}"
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            fail "some packages are missing; have them installed with: apt-get install --no-install-recommends ${missing[*]}"
        as_root=(sudo)
    fi
    # Whom sudo has made root only a Ctrl-C of its own can end.
    [ "${#as_root[@]}" -eq 0 ] || as_root=(env --default-signal=INT "${as_root[@]}")
    local -a apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
    update_lists "${missing[@]}"
    say "Installing ${#missing[@]} Debian packages:"
    for package in "${missing[@]}"; do
        say "  $package: $(why "$package" "$@")"
    done
    "${as_root[@]}" "${apt[@]}" install -y --no-install-recommends "${missing[@]}" >&2 ||
        fail "the packages could not be installed; try: apt-get install --no-install-recommends ${missing[*]}"
}

# update_lists PACKAGE...: what the servers have now, by install_packages' $apt. Where none answers that is told in
# seconds; an install would try again and again.
update_lists() {
    local said
    local -a hurry=(LC_ALL=C RES_OPTIONS="timeout:2 attempts:1")
    local -a soon=(-o Acquire::Retries=0 -o Acquire::http::Timeout=3 -o Acquire::https::Timeout=3 -o Acquire::EnableSrvRecords=false)
    said=$("${as_root[@]}" env "${hurry[@]}" "${apt[@]}" "${soon[@]}" update 2>&1) ||
        fail "the lists of packages cannot be brought up to date: $(grep -m 1 '^E: ' <<<"$said" | cut -c 4-)"
    if grep -q '^Err:' <<<"$said" && ! grep -q -E '^(Hit|Get):' <<<"$said"; then
        fail "no package server answers ($(grep -m 1 -A 1 '^Err:' <<<"$said" | sed -n '2s/^ *//p'))," \
            "and these packages are missing: $*; connect this machine, or give it them otherwise."
    fi
}
