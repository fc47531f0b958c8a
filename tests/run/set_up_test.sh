#!/usr/bin/env bash
# The parts of the set-up that can be tested without changing the system.
source "$(dirname "$0")/lib.sh"
for part in common packages view priority supervise; do
    source "$root/tools/$part.sh"
done
trap 'rm -rf "$work"' EXIT

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

not() { ! "$@"; }
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
finish
