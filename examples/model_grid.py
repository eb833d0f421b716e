#!/usr/bin/python3
"""Carbonate chemistry of a synthetic global model grid, lazily on dask.distributed.

Builds analytical salinity, temperature, TA and TCO2 fields on a 1 x 1 degree
grid of 33 levels (about 2 x 10^6 points), writes them as NetCDF, opens the
file in chunks, computes pH, pCO2 and the aragonite saturation chunk by chunk
on a LocalCluster (or on the cluster whose scheduler is given), writes the
results as NetCDF and prints the points per second and the workers' peak
memory.

    PYTHONPATH=build/python /usr/bin/python3 examples/model_grid.py
    PYTHONPATH=build/python /usr/bin/python3 examples/model_grid.py --scheduler tcp://host:8786
"""

import argparse
import os
import pathlib
import resource
import tempfile
import time

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
    talk = 2290.0 + 65.0 * (so - 35.0) + 0.012 * z
    dissic = 1960.0 + 260.0 * (1.0 - np.exp(-z / 1200.0)) - 4.0 * (thetao - 12.0)
    shape = (len(lev), nlat, nlon)
    dims = ("lev", "lat", "lon")
    return xr.Dataset(
        {"thetao": (dims, np.broadcast_to(thetao, shape).astype(np.float32),
                    {"units": "degC", "standard_name": "sea_water_potential_temperature"}),
         "so": (dims, np.broadcast_to(so, shape).astype(np.float32),
                {"units": "1e-3", "standard_name": "sea_water_salinity"}),
         "talk": (dims, np.broadcast_to(talk, shape).astype(np.float32), {"units": "umol kg-1"}),
         "dissic": (dims, np.broadcast_to(dissic, shape).astype(np.float32),
                    {"units": "umol kg-1"}),
         "pres": (("lev",), lev, {"units": "dbar"})},
        coords={"lev": ("lev", lev, {"units": "m", "positive": "down"}),
                "lat": ("lat", lat, {"units": "degrees_north"}),
                "lon": ("lon", lon, {"units": "degrees_east"})})


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
    parser.add_argument("--dir", help="folder of the NetCDF files (default: a temporary one)")
    args = parser.parse_args()

    folder = pathlib.Path(args.dir or tempfile.mkdtemp(prefix="brinora-grid-"))
    folder.mkdir(parents=True, exist_ok=True)
    source = folder / "grid.nc"
    target = folder / "carbonate.nc"
    synthetic_grid(args.nlon, args.nlat, args.nlev).to_netcdf(source)

    if args.scheduler:
        client = Client(args.scheduler, timeout=120)
        cluster = None
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True,
                               scheduler_port=0, dashboard_address=None)
        client = Client(cluster, timeout=120)
    try:
        ds = xr.open_dataset(source, chunks={"lev": args.chunk_levels})
        points = ds.so.size
        out = brinora.xarray.compute(ds, salinity="so", temperature="thetao", pressure="pres",
                                     ta="talk", tco2="dissic", constants=args.constants,
                                     results=["ph", "pco2", "omega_aragonite"])
        client.run(lambda: resource.getrusage(resource.RUSAGE_SELF).ru_maxrss)  # warm
        start = time.perf_counter()
        out.to_netcdf(target, compute=True)
        seconds = time.perf_counter() - start
        peaks = client.run(peak_memory_mib)
        chunks = np.prod([len(c) for c in ds.so.chunks])
        print(f"points: {points} in {chunks} chunks on {len(peaks)} workers")
        print(f"time: {seconds:.2f} s, {points / seconds:.0f} points per second")
        print("worker peak memory: " + ", ".join(f"{v:.0f} MiB" for v in peaks.values()))
        print(f"results: {target}")
    finally:
        client.close()
        if cluster is not None:
            cluster.close()


if __name__ == "__main__":
    main()
