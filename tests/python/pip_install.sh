#!/usr/bin/env bash
# Installs brinora with pip, offline, into a fresh virtual environment made
# from Debian's /usr/bin/python3 (seeing its NumPy, xarray, pint, gsw), and
# checks the installed package from outside the source tree: its version
# and metadata, and one sample's numbers.
set -euo pipefail
source_dir="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mktemp -d "${TMPDIR:-/tmp}/brinora-pip.XXXXXX")"
trap 'rm -rf "$work"' EXIT

/usr/bin/python3 -m venv --system-site-packages "$work/venv"
"$work/venv/bin/pip" install --quiet --no-build-isolation --no-index "$source_dir"

cd "$work"
"$work/venv/bin/python" - "$work/venv" <<'PY'
import importlib.metadata
import pathlib
import sys

import brinora
import brinora.xarray

venv = pathlib.Path(sys.argv[1]).resolve()
where = pathlib.Path(brinora.__file__).resolve()
assert venv in where.parents, f"brinora imported from {where}, not from the venv {venv}"
meta = importlib.metadata.metadata("brinora")
assert meta["Name"] == "brinora" and meta["Version"] == brinora.__version__, dict(meta)
assert (where.parent / "__init__.pyi").exists() and (where.parent / "py.typed").exists()
r = brinora.compute(35, 25, 0, 1, 10, ta=2300, tco2=2000, temperature_out=2, pressure_out=4000,
                    pco2_air=400, wind_speed=8, constants=13, khso4=1, ph_scale=1, flux=1)
# The numbers that `brinora calc --board` prints for the same sample.
assert (f"{r['ph']:.8f}", f"{r['omega_aragonite']:.7f}", f"{r['ph_out']:.8f}") == \
    ("8.04343224", "3.3692081", "8.25189209"), (r["ph"], r["omega_aragonite"], r["ph_out"])
print(f"brinora {brinora.__version__} installed by pip in {where.parent}: pH {r['ph']:.3f}")
PY
