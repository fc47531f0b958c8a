#!/usr/bin/env bash
# Makes the default model: fetches its weights and converts them to detect_960_540.tflite and detect_540_960.tflite.
# Does nothing when they are up to date. Usage: model/make.sh [DEST], DEST default build/model.
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
if [ -f "$dest/detect_960_540.tflite" ] && [ -f "$dest/detect_540_960.tflite" ] &&
    [ "$(cat "$dest/converted.sha256" 2>/dev/null)" = "$stamp" ]; then
    exit 0
fi
"$python" -c 'import flatbuffers, numpy' 2>/dev/null ||
    fail "$python needs numpy and flatbuffers (Debian: apt-get install python3-numpy python3-flatbuffers)."
for size in "960 540" "540 960"; do
    read -r width height <<<"$size"
    "$python" -B "$here/convert.py" "$dest/centernet.json" "$width" "$height" "$dest/detect_${width}_$height.tflite" ||
        fail "the conversion to ${width}x$height failed."
done
echo "$stamp" >"$dest/converted.sha256"
