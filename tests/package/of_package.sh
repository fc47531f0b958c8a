#!/usr/bin/env bash
# of_package.sh MACHINE TEST: runs a test of this folder with the package that package/make has made last for a processor.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
archive=$(find "$root/build/package" -maxdepth 1 -name "korvex_orvel_*_$1.tar.gz" -printf '%T@ %p\n' 2>/dev/null |
    sort -n | tail -n 1 | cut -d ' ' -f 2-)
[ -n "$archive" ] || {
    echo "skipped: there is no package for $1; package/make --arch $1 makes one."
    exit 77
}
case $2 in
*.py) exec "$here/$2" "$root" "$archive" ;;
*) exec "$here/$2" "$archive" ;;
esac
