#!/usr/bin/env bash
# Formats every C++ source and header of ours; with --check only says which ones differ.
# One version of the formatter, because each writes a little differently. Exit 77: not installed.
set -euo pipefail
cd "$(dirname "$0")/.."

formatter=clang-format-14
if ! command -v "$formatter" >/dev/null; then
    echo "$formatter is not installed (make deps)"
    exit 77
fi

files() {
    if git rev-parse --git-dir >/dev/null 2>&1; then
        git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cc'
    else
        find app bench engine fuzz helpers tests tools -name '*.h' -print0 -o -name '*.cc' -print0
    fi
}

if [ "${1:-}" = --check ]; then
    files | xargs -0 --no-run-if-empty "$formatter" --style=file --dry-run --Werror
else
    files | xargs -0 --no-run-if-empty "$formatter" --style=file -i
fi
