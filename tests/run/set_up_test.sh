#!/usr/bin/env bash
# The parts of the set-up that can be tested without changing the system.
source "$(dirname "$0")/lib.sh"
for part in common packages; do
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

# A folder that was moved after it was built, and one of another user.
moved=$work/moved
mkdir -p "$moved/build/release"
echo "CMAKE_HOME_DIRECTORY:INTERNAL=/where/it/was" >"$moved/build/release/CMakeCache.txt"
chmod 755 "$work" "$moved"
said_of() {
    (
        source "$real_root/tools/common.sh"
        source "$real_root/tools/build.sh"
        root=$moved
        "$@" 2>&1
    ) || true
}
check "a moved clone says what to do" \
    grep -q "build/release was made when this folder was /where/it/was; remove it (rm -r '$moved/build/release')" <(said_of build release)
check "nothing of it is touched" test -f "$moved/build/release/CMakeCache.txt"
if [ "$(id -u)" -eq 0 ]; then
    check "another user is told to make a clone" grep -q "$moved is root's, and you may not build in it; make a clone of your own: git clone $moved" \
        <(setpriv --reuid=65534 --regid=65534 --clear-groups bash -c 'source "$1/tools/common.sh"; source "$1/tools/build.sh"
            root=$2; make_model' run "$real_root" "$moved" 2>&1)
fi

# A fresh copy, on which nothing is built, and whose set-up takes long.
copy=$work/copy
mkdir -p "$copy/host"
cp "$root/run" "$copy/run"
cp -r "$root/tools" "$copy/tools"
cp "$root/host/help.txt" "$copy/host/help.txt"
echo 'install_packages() { bash -c "sleep 1000 & echo \$! >$LONG; wait"; }' >"$copy/tools/packages.sh"
check "--help needs no set-up" cmp <(timeout 10 "$copy/run" --help) "$root/host/help.txt"
check "nor does -h" cmp <(cd "$copy" && timeout 10 ./run -h) "$root/host/help.txt"

runs() { grep -q -s '^State:[[:space:]]*[^ZX]' "/proc/$1/status"; }
not_running() { ! runs "$1"; }
export LONG=$work/pid
for signal in TERM HUP INT; do
    rm -f "$LONG"
    setsid env --default-signal=INT "$copy/run" &
    command=$!
    within 60 test -s "$LONG"
    kill "-$signal" "$command"
    wait "$command" && status=0 || status=$?
    check "SIG$signal ends ./run in its set-up" test "$status" -eq 143
    check "with all that it started" not runs "$(cat "$LONG")"
done
rm -f "$LONG"
setsid "$copy/run" &
command=$!
within 60 test -s "$LONG"
kill -KILL "$command"
wait "$command" 2>/dev/null || true
check "one that is killed leaves nothing of its set-up either" within 60 not_running "$(cat "$LONG")"

# What the set-up has made is what ./run becomes, with every word as it was typed.
echo 'install_packages() { :; }' >"$copy/tools/packages.sh"
cat >"$copy/tools/build.sh" <<'MAKE'
make_model() { :; }
build() {
    mkdir -p "$root/build/$1/host"
    printf '#!/bin/sh\nprintf "<%%s>" "$@"\nexit 7\n' >"$root/build/$1/host/korvex_run"
    chmod +x "$root/build/$1/host/korvex_run"
}
MAKE
made=$("$copy/run" --set 'A=b c' '') && status=0 || status=$?
check "after its set-up it becomes the program" test "$made" = '<--set><A=b c><>'
check "and gives its status" test "$status" -eq 7
# The program that is there looks at the words first.
cp "$1/host/korvex_run" "$copy/build/release/host/korvex_run"
echo 'install_packages() { echo "set up" >&2; exit 3; }' >"$copy/tools/packages.sh"
check "a wrong word is refused before a set-up" test "$("$copy/run" --bogus 2>&1)" = \
    'run: "--bogus" is no option; ./run --help lists them.'
check "a right one is not" test "$("$copy/run" --threads 2 2>&1)" = "set up"
touch -d '1 minute' "$copy/host/run_options.cpp"
check "a program that is older than its options has no say" test "$("$copy/run" --bogus 2>&1)" = "set up"
echo 'install_packages() { fail "nothing can be installed."; }' >"$copy/tools/packages.sh"
check "a set-up that fails is told in a sentence" test "$("$copy/run" 2>&1)" = "run: nothing can be installed."
finish
