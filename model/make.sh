#!/usr/bin/env bash
# Makes the default model: fetches its weights and converts them to detect_960_540.tflite and detect_540_960.tflite.
# Does nothing when they are up to date and whole: model.sha256 has the checksums of what is used, for the check before a
# start as well. Usage: model/make.sh [DEST], DEST default build/model.
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
if [ "$(cat "$dest/converted.sha256" 2>/dev/null)" = "$stamp" ] && [ -f "$dest/model.sha256" ]; then
    (cd "$dest" && sha256sum --check --status model.sha256 2>/dev/null) && exit 0
    echo "model/make.sh: the model in $dest is damaged; it is made anew." >&2
fi
"$python" -c 'import flatbuffers, numpy' 2>/dev/null ||
    fail "$python needs numpy and flatbuffers (Debian: apt-get install python3-numpy python3-flatbuffers)."
for size in "960 540" "540 960"; do
    read -r width height <<<"$size"
    "$python" -B "$here/convert.py" "$dest/centernet.json" "$width" "$height" "$dest/detect_${width}_$height.tflite" ||
        fail "the conversion to ${width}x$height failed."
done
used=(detect_960_540.tflite detect_540_960.tflite)
[ ! -f "$dest/libtensorflowlite_c.so" ] || used+=(libtensorflowlite_c.so)
(cd "$dest" && sha256sum "${used[@]}") >"$dest/model.sha256"
echo "$stamp" >"$dest/converted.sha256"
