#!/usr/bin/env bash
# Fetches what the default model and the host's inference engine are made of: two pinned npm packages, of which a few
# files are kept. Does nothing when they are there already. Usage: model/fetch.sh [DEST [MACHINE]], DEST default
# build/model, MACHINE (x86_64 or aarch64) default this one.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
dest=${1:-$here/../build/model}
machine=${2:-$(uname -m)}

fail() {
    echo "model/fetch.sh: $*" >&2
    exit 1
}

# Without a network npm tries for minutes. Gives $silent, the host that does not answer it, or nothing.
look_for_network() {
    local name value offline='' registry='' proxy='' port
    while IFS='=' read -r name value; do
        case $name in
        offline) offline=$value ;;
        registry) registry=$value ;;
        *proxy) [ "$value" = null ] || proxy=$value ;;
        esac
    done < <(npm config get offline registry proxy https-proxy 2>/dev/null)
    silent=
    # What is no such address npm shall judge itself.
    [ "$offline" != true ] &&
        [[ ${proxy:-$registry} =~ ^http(s?)://([^@/]*@)?(\[[^]]+\]|[^]:/[]+)(:([0-9]+))?(/|$) ]] || return 0
    silent=${BASH_REMATCH[3]//[\[\]]/}
    port=80
    [ -z "${BASH_REMATCH[1]}" ] || port=443
    port=${BASH_REMATCH[5]:-$port}
    # shellcheck disable=SC2016
    ! timeout 4 bash -c 'exec 3<>"/dev/tcp/$1/$2"' connect "$silent" "$port" 2>/dev/null || silent=
}

# fetch PACKAGE INTEGRITY FILE=NAME...: keeps FILE of the package as DEST/NAME.
fetch() {
    local package=$1 integrity=$2 pair found
    shift 2
    command -v npm >/dev/null || fail "npm is needed to fetch $package; install it (Debian: apt-get install npm)."
    look_for_network
    # `pack` takes the archive alone: nothing is built and no script of the package runs. What npm has fetched before it
    # has without a network, too.
    (cd "$work" && npm pack --loglevel=error --ignore-scripts --fetch-retry-mintimeout=1000 \
        --fetch-retry-maxtimeout=5000 --fetch-timeout=30000 ${silent:+--offline} "$package" >pack.txt 2>pack.log) ||
        fail "could not fetch $package with npm: $(reason)"
    local archive
    archive=$work/$(tail -n 1 "$work/pack.txt")
    found=$(openssl dgst -sha512 -binary "$archive" | base64 -w 0)
    [ "$found" = "$integrity" ] || fail "$package is not the pinned one: sha512 is $found, expected $integrity."
    mkdir -p "$work/unpacked"
    tar -xzf "$archive" -C "$work/unpacked" "${@%%=*}" || fail "$package does not hold the expected files."
    for pair in "$@"; do
        mv -f "$work/unpacked/${pair%%=*}" "$dest/${pair##*=}"
    done
}

reason() {
    if [ -n "$silent" ]; then
        echo "$silent does not answer; is there a network?"
    else
        grep -m 1 -E 'network|request to|reason|404|notarget|ENO' "$work/pack.log" | cut -c 1-200
    fi
}

# unchanged SHA256 NAME: DEST/NAME is there and is what the pinned package holds.
unchanged() {
    echo "$1  $dest/$2" | sha256sum --check --status 2>/dev/null
}

mkdir -p "$dest" || fail "cannot make the folder $dest."
[ -w "$dest" ] || fail "the folder $dest is not writable."
exec 9>"$dest/.lock"
flock 9
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

unchanged bfb942eaacc5becf738d536663bc4580a0ae9e560722306e6d4dd7fe4a09de05 centernet.json &&
    unchanged 1b635a15009071f506f9f2b3519b31c072c534888989f30d269ffd44734ef7ef centernet.bin ||
    fetch @vladmandic/human@3.3.6 \
        Nr5mPfq1gQ+uKeXY5uM3Fj8UxvF5CEh2s6txM5wRThqaW0mF9huooOuZSrT8hhGho0hGaXLFdAwfD/2+teCv6A== \
        package/models/centernet.json=centernet.json package/models/centernet.bin=centernet.bin \
        package/LICENSE=LICENSE.centernet

case $machine in
x86_64) folder=linux_amd64 sum=dc89b4cd86d956516570bd483668e6dd98907f49901d0567dedc69a29a56b7f7 ;;
aarch64) folder=linux_arm64 sum=ec0dee4fb3418e680d010248ac1e304d9656cc5c8de54caaf91d666712e2f633 ;;
*)
    echo "model/fetch.sh: no inference engine is packaged for $machine; set KORVEX_LAROD_LIBRARY to a TensorFlow Lite C" \
        "library of this system." >&2
    folder=linux_amd64 sum= # for its headers
    ;;
esac
headers=include/tensorflow/lite/c
{ [ -z "$sum" ] || unchanged "$sum" libtensorflowlite_c.so; } &&
    unchanged 7b4b0e05b9d82a9c9bdc75d83e5fb12c09686a3ee0f73e7686706ee5762faae5 $headers/c_api.h && unchanged 1ad66312ea5f89471436b77d9395f747ee789a6a7afecacf0214ce0bfa16c4cd $headers/c_api_types.h &&
    unchanged b19c1f2ae6fd049ed159fc857e4d0e214d72fe6c0a12e69739078c01a5a7e5be $headers/common.h || {
    mkdir -p "$dest/$headers"
    fetch tfjs-tflite-node@0.0.2 \
        Zed9biOz9lkWsekvPwdEmxXnsjXJnZO8iOV0s2Y20QU15cwiPedzFEBYiGbK7smYpkJpQNNY9SukoKmUi9bk9w== \
        package/cc_deps/$folder/libtensorflowlite_c.so=libtensorflowlite_c.so \
        package/cc_deps/$headers/c_api.h=$headers/c_api.h \
        package/cc_deps/$headers/c_api_types.h=$headers/c_api_types.h \
        package/cc_deps/$headers/common.h=$headers/common.h
    [ -n "$sum" ] || rm -f "$dest/libtensorflowlite_c.so"
}
