#!/usr/bin/env bash
# Makes the default models: fetches the weights and converts them to detect_960_540.tflite and detect_540_960.tflite, and
# in fast/ to two of the same names that reduce the picture first. Does nothing when they are up to date and whole:
# model.sha256 in each folder has the checksums of what is used, for the check before a start as well. Usage:
# model/make.sh [DEST], DEST default build/model.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
dest=${1:-$here/../build/model}
# Debian's own interpreter, since its numpy and flatbuffers belong to no other.
python=${KORVEX_PYTHON:-/usr/bin/python3}

fail() {
    echo "model/make.sh: $*" >&2
    exit 1
}

"$here/fetch.sh" "$dest"
exec 9>"$dest/.lock"
flock 9

stamp=$(cat "$here"/*.py "$dest"/centernet.json "$dest"/centernet.bin | sha256sum)
models=(
    "960 540 detect_960_540.tflite"
    "540 960 detect_540_960.tflite"
    "960 540 fast/detect_960_540.tflite 640 360"
    "540 960 fast/detect_540_960.tflite 360 640"
)
is_whole() {
    (cd "$1" && sha256sum --check --status model.sha256 2>/dev/null)
}
if [ "$(cat "$dest/converted.sha256" 2>/dev/null)" = "$stamp" ] && [ -f "$dest/model.sha256" ]; then
    is_whole "$dest" && is_whole "$dest/fast" && exit 0
    echo "model/make.sh: a model in $dest is damaged; they are made anew." >&2
fi
"$python" -c 'import flatbuffers, numpy' 2>/dev/null ||
    fail "$python needs numpy and flatbuffers (Debian: apt-get install python3-numpy python3-flatbuffers)."
mkdir -p "$dest/fast"
for line in "${models[@]}"; do
    read -r width height name inner <<<"$line"
    # shellcheck disable=SC2086 # two words, or none
    "$python" -B "$here/convert.py" "$dest/centernet.json" "$width" "$height" "$dest/$name" $inner ||
        fail "the conversion to $name failed."
done
used=(detect_960_540.tflite detect_540_960.tflite)
[ ! -f "$dest/libtensorflowlite_c.so" ] || used+=(libtensorflowlite_c.so)
(cd "$dest" && sha256sum "${used[@]}") >"$dest/model.sha256"
(cd "$dest/fast" && sha256sum ./*.tflite | sed 's|\./||') >"$dest/fast/model.sha256"
echo "$stamp" >"$dest/converted.sha256"
