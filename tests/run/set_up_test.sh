#!/usr/bin/env bash
# The parts of the set-up that can be tested without changing the system.
source "$(dirname "$0")/lib.sh"
for part in common signals packages view priority supervise; do
    source "$root/tools/$part.sh"
done
trap 'rm -rf "$work"' EXIT
not() { ! "$@"; }

# A package list of the test's own.
mkdir "$work/tools"
cat >"$work/tools/packages-fake.txt" <<'LIST'
# a comment
bash                                # installed everywhere
korvex-no-such-package              # never installed
korvex-other-package  sh            # its command is there
LIST
real_root=$root
root=$work
check "only what is missing is asked for" test "$(missing_packages fake)" = korvex-no-such-package
check "a reason is given for it" test "$(why korvex-no-such-package fake)" = "never installed"

# A package server that takes every call and never says a word.
node -e 'require("net").createServer(() => {}).listen(0, "127.0.0.1", function () {
    require("fs").writeFileSync(process.argv[1], String(this.address().port)); })' "$work/port" &
silent=$!
trap 'kill "$silent" 2>/dev/null || true; rm -rf "$work"' EXIT
within 60 test -s "$work/port"
mkdir -p "$work/lists/partial" "$work/nothing"
echo "deb [trusted=yes] http://127.0.0.1:$(cat "$work/port") stable main" >"$work/sources.list"
cat >"$work/apt.conf" <<CONF
Dir::Etc::sourcelist "$work/sources.list";
Dir::Etc::sourceparts "$work/nothing";
Dir::State::lists "$work/lists";
Acquire::http::Proxy "DIRECT";
APT::Sandbox::User "";
CONF
install_from_nowhere() {
    (
        sudo() { "$@"; }
        export APT_CONFIG=$work/apt.conf
        install_packages fake
    ) 2>"$work/said"
}
SECONDS=0
check "where no package server answers nothing is installed" not install_from_nowhere
echo "told after $SECONDS s"
check "that is told soon" test "$SECONDS" -lt 30
check "in one sentence" grep -q -E '^[^ ]+: no package server answers \(.+\), and these packages are missing: korvex-no-such-package;' "$work/said"
check "and no more" test "$(wc -l <"$work/said")" -eq 1
kill "$silent"
root=$real_root

for list in build test bench fuzz; do
    check "every package of $list has its reason" \
        test -z "$(grep -v '^#' "$root/tools/packages-$list.txt" | grep -v -E '^[a-z0-9.+-]+( +[a-z0-9_.+-]+)? +# .+')"
done

mkdir -p "$work/base/present/inner" "$work/shown"
echo hello >"$work/shown/file"
ln -s inner "$work/base/present/link"
touch "$work/base/present/inner/kept"
view=()
private_view view "$work/base/present/new/deep/place=$work/shown"
check "a view shows a folder at a place that does not exist" \
    bwrap "${view[@]}" test -f "$work/base/present/new/deep/place/file"
check "beside what was there" bwrap "${view[@]}" test -f "$work/base/present/link/kept"
check "writes arrive" bwrap "${view[@]}" touch "$work/base/present/new/deep/place/written"
check "in the folder that is shown" test -f "$work/shown/written"
check "and nothing is left" test ! -e "$work/base/present/new"

real_paths "$work/base/real/deep/place=$work/shown"
check "without a view the place is real" test -f "$work/base/real/deep/place/file"
remove_real_paths
check "until the end" test ! -e "$work/base/real"
mkdir "$work/empty"
real_paths "$work/empty/deep/place=$work/shown"
remove_real_paths
check "a folder that was there stays, though it is empty" test -z "$(ls -A "$work/empty")" -a -d "$work/empty"
real_paths "$work/base/real/deep/place=$work/shown"
made_paths=() made_folders=() # a command that is killed makes nothing good
check "what a killed command left is taken over" bash -c "source '$root/tools/common.sh'; source '$root/tools/view.sh'; \
    real_paths '$work/base/real/deep/place=$work/shown' && remove_real_paths && test ! -e '$work/base/real/deep/place'"
check "what is there already is left alone" bash -c "source '$root/tools/common.sh'; source '$root/tools/view.sh'; \
    ! (real_paths '$work/base/present=$work/shown') 2>/dev/null && test -d '$work/base/present/inner'"

# Also where nobody collects what has ended.
runs() { grep -q -s '^State:[[:space:]]*[^ZX]' "/proc/$1/status"; }
(supervise "" sh -c 'echo $$ >"$1/pid"; exec sleep 1000' program "$work") &
killed=$!
within 60 test -s "$work/pid"
program=$(cat "$work/pid")
check "a program runs" runs "$program"
kill -KILL "$killed"
wait "$killed" 2>/dev/null || true
check "and ends with the command that is killed, without a view too" within 60 not runs "$program"
kill -TERM "$program" 2>/dev/null || true

# What takes long is ended with the command, and what that has started too.
for signal in TERM HUP; do
    rm -f "$work/pid"
    bash -c "source '$root/tools/signals.sh'; trap asked_to_end TERM HUP
        long() { bash -c 'sleep 1000 & echo \$! >\"\$1\"; wait' long '$work/pid'; }
        heard long" &
    command=$!
    within 60 test -s "$work/pid"
    kill "-$signal" "$command"
    wait "$command" && status=0 || status=$?
    check "SIG$signal ends a command in its set-up" test "$status" -eq 143
    check "with all that it started" not runs "$(cat "$work/pid")"
done
finish
