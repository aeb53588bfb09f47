#!/usr/bin/python3
"""Merges what the benchmark programs measured and prints it as one table.

    bench_report.py --out out/bench.json PROGRAM...

Every program is run as `PROGRAM --json FILE` and appends to FILE one JSON object per figure:
{"name": text, "ours": number, "peer": number or null, "unit": text, "ratio": number or null}.
A ratio is peer / ours for a time, so that above 1 means that ours is faster; where a program gives
none it is computed that way.
"""

import argparse
import json
import os
import platform
import subprocess
import sys
import tempfile
from pathlib import Path


def rows_of(text, program):
    rows = []
    for line in text.splitlines():
        if not line.strip():
            continue
        row = json.loads(line)
        peer, ratio = row.get("peer"), row.get("ratio")
        if ratio is None and peer is not None and row["ours"]:
            ratio = peer / row["ours"]
        rows.append({"program": program, "name": row["name"], "ours": row["ours"], "peer": peer,
                     "unit": row.get("unit", ""), "ratio": ratio})
    return rows


def run(program, folder):
    """The rows of one program and whether it ended well."""
    target = Path(folder) / f"{Path(program).name}.json"
    print(f"-- {Path(program).name}", flush=True)
    code = subprocess.run([program, "--json", str(target)], stdin=subprocess.DEVNULL).returncode
    text = target.read_text() if target.exists() else ""
    if code != 0:
        print(f"{program} ended with {code}", file=sys.stderr)
    elif not text.strip():
        print(f"{program} reported no figure", file=sys.stderr)
    return rows_of(text, Path(program).name), code == 0 and bool(text.strip())


def table(rows):
    def number(value):
        return "-" if value is None else f"{value:.4g}"
    cells = [("name", "ours", "peer", "unit", "ratio")]
    cells += [(r["name"], number(r["ours"]), number(r["peer"]), r["unit"], number(r["ratio"]))
              for r in rows]
    widths = [max(len(row[k]) for row in cells) for k in range(5)]
    return "\n".join(
        "  ".join(text.ljust(w) if k in (0, 3) else text.rjust(w)
                  for k, (text, w) in enumerate(zip(row, widths))).rstrip() for row in cells)


def machine():
    model = platform.processor()
    try:
        for line in Path("/proc/cpuinfo").read_text().splitlines():
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    except OSError:
        pass
    return {"cpu": model, "cores": os.cpu_count(), "system": platform.platform()}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", type=Path, required=True)
    parser.add_argument("programs", nargs="*")
    arguments = parser.parse_args()
    rows, good = [], True
    with tempfile.TemporaryDirectory() as folder:
        for program in arguments.programs:
            figures, ended_well = run(program, folder)
            rows += figures
            good = good and ended_well
    arguments.out.parent.mkdir(parents=True, exist_ok=True)
    arguments.out.write_text(json.dumps({"machine": machine(), "figures": rows}, indent=1) + "\n")
    print(table(rows))
    print(f"{len(rows)} figures of {len(arguments.programs)} programs: {arguments.out}")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
