#!/usr/bin/env bash
# Installs the Debian packages of tools/packages.txt that are missing. Quick when none is.
#   tools/deps.sh [--without-tests]   leaves out what only tests drive
set -euo pipefail
cd "$(dirname "$0")"

list() {
    if [ "${1:-}" = --without-tests ]; then
        sed '/only tests drive/,$d' packages.txt
    else
        cat packages.txt
    fi
}
mapfile -t wanted < <(list "$@" | grep -Ev '^[[:space:]]*(#|$)')

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "This system has no apt-get, so nothing was installed. The build needs what these Debian 12"
    echo "packages hold: ${wanted[*]}"
    exit 0
fi

installed=$(dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' | awk '$1 == "ii" {print $2}')
mapfile -t missing < <(comm -23 <(printf '%s\n' "${wanted[@]}" | sort -u) <(sort -u <<<"$installed"))
[ "${#missing[@]}" -eq 0 ] && exit 0

echo "installing ${missing[*]}"
root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Neither root nor sudo: ask an administrator to run: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    root=(sudo)
fi
install() {
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}" </dev/null
}
# The package lists may be old or absent: fetch them only when the first try fails.
install || { "${root[@]}" apt-get update </dev/null && install; }
