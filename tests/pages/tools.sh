# The tools of the pages and their tests, pinned by checksum in package-lock.json; sourced.

install_page_tools() (
    cd "$(dirname "${BASH_SOURCE[0]}")" || exit
    cmp -s package-lock.json node_modules/.installed && exit
    # Of several at once one installs, and the others find it done.
    exec 9<package-lock.json
    flock 9
    cmp -s package-lock.json node_modules/.installed && exit
    npm ci --ignore-scripts --no-audit --no-fund >&2
    cp package-lock.json node_modules/.installed
)
