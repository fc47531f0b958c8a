#!/usr/bin/env bash
# in_package_folder.sh IN_CAMERA PROGRAM...: runs it where the camera's folder for the application's pages exists, empty,
# and is nobody else's; IN_CAMERA is korvex_in_camera.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/html" "$folder/package"
in_camera=$1
shift
"$in_camera" "$folder" "$@"
