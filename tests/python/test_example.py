"""examples/model_grid.py on a reduced grid."""

import os
import subprocess
import sys
import warnings

import numpy as np
import xarray as xr

import brinora.xarray


def test_model_grid_example_reduced(tmp_path, source_dir):
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(p for p in sys.path if p))
    run = subprocess.run(
        ["/usr/bin/python3", str(source_dir / "examples" / "model_grid.py"), "--nlon", "36",
         "--nlat", "18", "--nlev", "6", "--chunk-levels", "2", "--dir", str(tmp_path)],
        env=env, capture_output=True, text=True, timeout=300)
    assert run.returncode == 0, run.stderr
    assert "points: 3888 in 3 chunks on 2 workers" in run.stdout
    assert "points per second" in run.stdout and "worker peak memory" in run.stdout
    assert "  pressure: from the depth lev [m] with TEOS-10 gsw.p_from_z" in run.stdout
    grid = xr.open_zarr(tmp_path / "grid.zarr").load()
    out = xr.open_zarr(tmp_path / "carbonate.zarr")
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", brinora.xarray.ConversionWarning)
        expected = brinora.xarray.compute(grid, ta="talk", tco2="dissic", constants=13,
                                          results=["ph", "pco2", "omega_aragonite"])
    for name in ("ph", "pco2", "omega_aragonite", "status"):
        np.testing.assert_array_equal(out[name].values, expected[name].values)
    assert (out.status.values == 0).all()
    # The deepest level (250 m) is deeper and colder than the surface: lower saturation.
    assert float(out.omega_aragonite.isel(lev=5).mean()) < float(out.omega_aragonite.isel(lev=0).mean())
    assert out.ph.attrs["standard_name"] == "sea_water_ph_reported_on_total_scale"
    assert out.lev.attrs["positive"] == "down"


def test_model_grid_example_removes_its_temporary_folder(tmp_path, source_dir):
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(p for p in sys.path if p), TMPDIR=str(tmp_path))
    run = subprocess.run(
        ["/usr/bin/python3", str(source_dir / "examples" / "model_grid.py"), "--nlon", "8",
         "--nlat", "4", "--nlev", "2", "--workers", "1"],
        env=env, capture_output=True, text=True, timeout=300)
    assert run.returncode == 0, run.stderr
    assert "points: 64 in 1 chunks on 1 workers" in run.stdout
    assert "(temporary, removed at the end)" in run.stdout
    assert not list(tmp_path.glob("brinora-grid-*"))
