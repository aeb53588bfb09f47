#!/usr/bin/env bash
# Installs the Debian packages of tools/packages.txt that are missing. Quick when none is.
#   tools/deps.sh [--without-tests]   leaves out what only tests drive
set -euo pipefail
cd "$(dirname "$0")"

packages() { # packages SED-SCRIPT: of a part of the list
    sed "$1" packages.txt | grep -Ev '^[[:space:]]*(#|$)'
}
mapfile -t needed < <(packages '/only tests drive/,$d')
mapfile -t for_tests < <(packages '1,/only tests drive/d')
[ "${1:-}" != --without-tests ] || for_tests=()

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "This system has no apt-get, so nothing was installed. The build needs what these Debian 12"
    echo "packages hold: ${needed[*]}"
    exit 0
fi

root=()
[ "$(id -u)" -eq 0 ] || root=(sudo)

apt_install() {
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "$@" </dev/null
}

install_missing() {
    local installed missing
    installed=$(dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' | awk '$1 == "ii" {print $2}')
    mapfile -t missing < <(comm -23 <(printf '%s\n' "$@" | sort -u) <(sort -u <<<"$installed"))
    [ "${#missing[@]}" -gt 0 ] || return 0
    echo "installing ${missing[*]}"
    if [ "${#root[@]}" -gt 0 ] && ! command -v sudo >/dev/null; then
        echo "Neither root nor sudo: ask an administrator to run: apt-get install ${missing[*]}" >&2
        return 1
    fi
    # The package lists may be old or absent: fetch them only when the first try fails.
    apt_install "${missing[@]}" || { "${root[@]}" apt-get update </dev/null && apt_install "${missing[@]}"; }
}

install_missing "${needed[@]}"
[ "${#for_tests[@]}" -eq 0 ] || install_missing "${for_tests[@]}" ||
    echo "Not everything that tests drive could be installed: those that need it will be skipped."
