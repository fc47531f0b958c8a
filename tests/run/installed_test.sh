#!/usr/bin/env bash
# What a package would install, without the repository and its commands: the programs of the build given as the argument
# in one folder, and the files beside them.
source "$(dirname "$0")/lib.sh"
programs=$work/prefix/lib/korvex_orvel
files=$work/prefix/share/korvex_orvel
mkdir -p "$programs" "$files/web" "$files/package" "$work/home" "$work/prefix/bin"
for part in host/korvex_{run,live,replay,stays} platform/axparameter/korvex_parameter platform/larod/korvex_{check_model,larod} \
    platform/vdostream/korvex_check_video; do
    cp "$1/$part" "$programs/"
done
ln -s ../lib/korvex_orvel/korvex_run "$work/prefix/bin/korvex-orvel"
cp -L "$root/build/model/libtensorflowlite_c.so" "$programs/"
cp -r "$root/html" "$files/html"
cp -r "$root/web/lighttpd" "$files/web/lighttpd"
cp "$root/package/manifest.json" "$files/package/"
ln -s "$root/build/model" "$files/model"
orvel() { env -u KORVEX_BUILD_DIR HOME="$work/home" "$work/prefix/bin/korvex-orvel" "$@"; }

check "the installed program knows its options" cmp <(orvel --help) "$root/host/help.txt"
check "it has the name that was typed" test "$(orvel --bogus 2>&1)" = \
    'korvex-orvel: "--bogus" is no option; ./run --help lists them.'
check "it replays the scene" orvel --replay scene --seconds 1 --json "$work/lines.jsonl"
check "with a line a pass" test "$(wc -l <"$work/lines.jsonl")" -eq 5
check "in a state folder of the user's" test -d "$work/home/.local/state/korvex_orvel"

env -u KORVEX_BUILD_DIR HOME="$work/home" "$work/prefix/bin/korvex-orvel" >"$work/out" 2>"$work/err" &
pid=$!
has() { grep -q -s -E "$1" "$2"; }
check "it runs, and has pages" within 120 has '^status 408' "$work/out"
address=$(sed -n 's/^Its pages are at //p' "$work/err")
check "which are its own" cmp <(curl -s -f "${address}local/korvex_orvel/index.html") "$files/html/index.html"
kill -TERM "$pid"
check "TERM ends it with status 0" wait "$pid"
finish
