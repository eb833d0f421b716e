"""examples/model_grid.py on a reduced grid."""

import os
import subprocess
import sys

import numpy as np
import xarray as xr

import brinora


def test_model_grid_example_reduced(tmp_path, source_dir):
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(p for p in sys.path if p))
    run = subprocess.run(
        ["/usr/bin/python3", str(source_dir / "examples" / "model_grid.py"), "--nlon", "36",
         "--nlat", "18", "--nlev", "6", "--chunk-levels", "2", "--dir", str(tmp_path)],
        env=env, capture_output=True, text=True, timeout=300)
    assert run.returncode == 0, run.stderr
    assert "points: 3888 in 3 chunks on 2 workers" in run.stdout
    assert "points per second" in run.stdout and "worker peak memory" in run.stdout
    grid = xr.open_dataset(tmp_path / "grid.nc")
    out = xr.open_dataset(tmp_path / "carbonate.nc")
    s, t, p = xr.broadcast(grid.so, grid.thetao, grid.pres)
    expected = brinora.compute(s.values, t.values, p.values, ta=grid.talk.values,
                               tco2=grid.dissic.values, constants=13)
    for name in ("ph", "pco2", "omega_aragonite"):
        np.testing.assert_array_equal(out[name].values, expected[name])
    assert out.ph.attrs["standard_name"] == "sea_water_ph_reported_on_total_scale"
