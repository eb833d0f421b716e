#!/usr/bin/python3
"""Carbonate chemistry of a synthetic global model grid, lazily on dask.distributed.

Builds analytical fields as a CMIP model writes them on a 1 x 1 degree grid
of 33 levels (about 2 x 10^6 points): potential temperature, practical
salinity, TA and TCO2 in mol m-3, depth in metres. Writes them as a zarr
store, opens it in chunks, computes pH, pCO2 and the aragonite saturation
chunk by chunk on a LocalCluster (or on the cluster whose scheduler is
given), reading the units and converting with TEOS-10 (the pressure from the
depth and latitude), writes the results as a zarr store, one chunk at a time
and without a lock (a worker that dies is replaced and its chunks written
again), and prints the points per second and the workers' peak memory. The
temporary folder is removed at the end unless --dir names one to keep.

    PYTHONPATH=build/python /usr/bin/python3 examples/model_grid.py
    PYTHONPATH=build/python /usr/bin/python3 examples/model_grid.py --scheduler tcp://host:8786 --dir /shared/grid
"""

import argparse
import pathlib
import resource
import shutil
import tempfile
import time
import warnings

import numpy as np
import xarray as xr
from dask.distributed import Client, LocalCluster

import brinora.xarray

# The 33 standard levels of gridded ocean climatologies, in metres (~dbar).
LEVELS = [0, 10, 20, 30, 50, 75, 100, 125, 150, 200, 250, 300, 400, 500, 600, 700, 800, 900,
          1000, 1100, 1200, 1300, 1400, 1500, 1750, 2000, 2500, 3000, 3500, 4000, 4500, 5000,
          5500]


def synthetic_grid(nlon, nlat, nlev):
    lev = np.asarray(LEVELS[:nlev], dtype=np.float64)
    lat = np.linspace(-89.5, 89.5, nlat)
    lon = np.linspace(0.5, 359.5, nlon)
    z = lev[:, None, None]
    y = np.radians(lat)[None, :, None]
    x = np.radians(lon)[None, None, :]
    thetao = 1.0 + 27.0 * np.cos(y) ** 2 * np.exp(-z / 700.0) + 0.5 * np.sin(2 * x)
    so = 34.6 + 1.4 * np.cos(y) * np.exp(-z / 900.0) + 0.2 * np.sin(x) * np.exp(-z / 300.0)
    # mol m-3: umol/kg times a density of about 1026 kg m-3.
    talk = (2290.0 + 65.0 * (so - 35.0) + 0.012 * z) * 1.026e-3
    dissic = (1960.0 + 260.0 * (1.0 - np.exp(-z / 1200.0)) - 4.0 * (thetao - 12.0)) * 1.026e-3
    shape = (len(lev), nlat, nlon)
    dims = ("lev", "lat", "lon")
    return xr.Dataset(
        {"thetao": (dims, np.broadcast_to(thetao, shape).astype(np.float32),
                    {"units": "degC", "standard_name": "sea_water_potential_temperature"}),
         "so": (dims, np.broadcast_to(so, shape).astype(np.float32),
                {"units": "1e-3", "standard_name": "sea_water_salinity"}),
         "talk": (dims, np.broadcast_to(talk, shape).astype(np.float32), {"units": "mol m-3"}),
         "dissic": (dims, np.broadcast_to(dissic, shape).astype(np.float32),
                    {"units": "mol m-3"})},
        coords={"lev": ("lev", lev, {"units": "m", "positive": "down", "standard_name": "depth",
                                     "axis": "Z"}),
                "lat": ("lat", lat, {"units": "degrees_north", "standard_name": "latitude"}),
                "lon": ("lon", lon, {"units": "degrees_east", "standard_name": "longitude"})})


def peak_memory_mib():
    """Peak resident memory of this process, in MiB."""
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024.0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--scheduler", help="address of a running dask scheduler "
                        "(default: start a LocalCluster)")
    parser.add_argument("--workers", type=int, default=2, help="LocalCluster worker processes")
    parser.add_argument("--nlon", type=int, default=360)
    parser.add_argument("--nlat", type=int, default=180)
    parser.add_argument("--nlev", type=int, default=33)
    parser.add_argument("--chunk-levels", type=int, default=4, help="levels per chunk")
    parser.add_argument("--constants", default="13", help="constants set, item or title")
    parser.add_argument("--dir", help="folder of the zarr stores, kept (default: a temporary "
                        "one, removed at the end)")
    args = parser.parse_args()

    folder = pathlib.Path(args.dir or tempfile.mkdtemp(prefix="brinora-grid-"))
    try:
        run(args, folder)
    finally:
        if not args.dir:
            shutil.rmtree(folder, ignore_errors=True)


def run(args, folder):
    folder.mkdir(parents=True, exist_ok=True)
    source = folder / "grid.zarr"
    target = folder / "carbonate.zarr"
    grid = synthetic_grid(args.nlon, args.nlat, args.nlev)
    grid.chunk({"lev": args.chunk_levels}).to_zarr(source, mode="w")

    if args.scheduler:
        client = Client(args.scheduler, timeout=120)
        cluster = None
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True,
                               scheduler_port=0, dashboard_address=None)
        client = Client(cluster, timeout=120)
    try:
        ds = xr.open_zarr(source)
        points = ds.so.size
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", brinora.xarray.ConversionWarning)
            out = brinora.xarray.compute(ds, salinity="so", temperature="thetao", ta="talk",
                                         tco2="dissic", constants=args.constants,
                                         results=["ph", "pco2", "omega_aragonite"])
        print("conversions:\n  " + out.attrs["input_conversions"].replace("\n", "\n  "))
        client.run(lambda: resource.getrusage(resource.RUSAGE_SELF).ru_maxrss)  # warm
        start = time.perf_counter()
        out.to_zarr(target, mode="w")
        seconds = time.perf_counter() - start
        peaks = client.run(peak_memory_mib)
        chunks = np.prod([len(c) for c in ds.so.chunks])
        print(f"points: {points} in {chunks} chunks on {len(peaks)} workers")
        print(f"time: {seconds:.2f} s, {points / seconds:.0f} points per second")
        print("worker peak memory: " + ", ".join(f"{v:.0f} MiB" for v in peaks.values()))
        print(f"results: {target}" + ("" if args.dir else " (temporary, removed at the end)"))
    finally:
        client.close()
        if cluster is not None:
            cluster.close()


if __name__ == "__main__":
    main()
