"""Writing results on a dask.distributed cluster: a zarr store written chunk by
chunk survives a worker killed mid-write; a worker that cannot import brinora
fails the client at once."""

import os
import pathlib
import re
import signal
import subprocess
import time

import numpy as np
import pytest
import xarray as xr

import brinora.xarray
from grid import small_grid

distributed = pytest.importorskip("distributed")

OPTIONS = dict(constants=10, khso4=1, ph_scale=1, flux=1)
ARGS = dict(salinity="so", temperature="thetao", pressure="pressure", ta="talk", tco2="dissic")
RESULTS = ["ph", "pco2", "omega_aragonite"]


def _cluster(tmp_path, workers):
    return distributed.LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                                    host="127.0.0.1", scheduler_port=0, dashboard_address=None,
                                    local_directory=str(tmp_path / "dask"), death_timeout=120)


def _chunks_written(variable):
    """Chunks in a variable's folder of a zarr store (keys "0.1.0"); a
    worker killed while writing may leave a "<key>.<hex>.partial" file,
    which zarr never reads."""
    return sum(1 for p in pathlib.Path(variable).iterdir() if re.fullmatch(r"\d+(\.\d+)*", p.name))


def test_zarr_write_survives_a_killed_worker(tmp_path):
    ds = small_grid(nlev=8)
    reference = brinora.xarray.compute(ds, **ARGS, results=RESULTS, **OPTIONS)
    # 16 chunks, each held back a little on its worker, so that the kill
    # comes while most chunks are still to be written.
    slow = ds.chunk({"lev": 1, "lat": 9}).map_blocks(lambda block: (time.sleep(0.3), block)[1])
    lazy = brinora.xarray.compute(slow, **ARGS, results=RESULTS, **OPTIONS)
    store = tmp_path / "out.zarr"
    with _cluster(tmp_path, 2) as cluster, distributed.Client(cluster, timeout=120) as client:
        client.wait_for_workers(2, timeout=120)
        pids = client.run(os.getpid)
        future = client.compute(lazy.to_zarr(store, compute=False))
        deadline = time.monotonic() + 120
        while _chunks_written(store / "ph") == 0:
            assert time.monotonic() < deadline and not future.done()
            time.sleep(0.01)
        os.kill(sorted(pids.values())[0], signal.SIGKILL)
        written_at_kill = _chunks_written(store / "ph")
        future.result(timeout=300)
        client.wait_for_workers(2, timeout=120)  # the nanny has started a new worker
        after = client.run(os.getpid)
    assert 1 <= written_at_kill < 16
    assert _chunks_written(store / "ph") == 16
    assert len(after) == 2 and sorted(pids.values())[0] not in after.values()
    out = xr.open_zarr(store).load()
    for name in RESULTS + ["status"]:
        np.testing.assert_array_equal(out[name].values, reference[name].values)
    assert int((out.status != 0).sum()) == 3  # the three land points of the grid
    assert out.ph.attrs["standard_name"] == "sea_water_ph_reported_on_total_scale"


def test_worker_that_cannot_import_brinora_fails_the_client(tmp_path):
    env = {k: v for k, v in os.environ.items() if k != "PYTHONPATH"}
    with _cluster(tmp_path, 0) as cluster, distributed.Client(cluster, timeout=120) as client:
        worker = subprocess.Popen(
            ["/usr/bin/python3", "-m", "distributed.cli.dask_worker", cluster.scheduler_address,
             "--nworkers", "1", "--nthreads", "1", "--no-dashboard", "--local-directory",
             str(tmp_path / "worker")], env=env, cwd=tmp_path, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        try:
            client.wait_for_workers(1, timeout=120)
            with pytest.raises(RuntimeError, match=r"^the dask worker tcp://127\.0\.0\.1:\d+ cannot "
                               r"import brinora: ModuleNotFoundError: No module named 'brinora'$"):
                brinora.xarray.compute(small_grid().chunk({"lev": 2}), **ARGS, **OPTIONS)
        finally:
            # The worker leaves the scheduler on its own, then its process ends.
            client.retire_workers(list(client.scheduler_info()["workers"]), close_workers=True)
            try:
                worker.wait(timeout=60)
            except subprocess.TimeoutExpired:
                worker.terminate()
                worker.wait(timeout=60)
