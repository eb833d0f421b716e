"""A small analytical ocean grid for the xarray and dask tests."""

import numpy as np
import xarray as xr


def small_grid(nlev=4, nlat=18, nlon=36):
    lev = np.linspace(5.0, 4000.0, nlev)
    lat = np.linspace(-85.0, 85.0, nlat)
    lon = np.linspace(0.0, 350.0, nlon)
    z, y, x = np.meshgrid(lev, lat, lon, indexing="ij")
    thetao = 28.0 * np.cos(np.radians(y)) ** 2 * np.exp(-z / 800.0) + 1.5
    so = 34.7 + 1.2 * np.cos(np.radians(y)) * np.exp(-z / 1000.0) + 0.1 * np.sin(np.radians(x))
    talk = 2300.0 + 60.0 * (so - 35.0) + 0.01 * z
    dissic = 1950.0 + 250.0 * (1.0 - np.exp(-z / 1500.0)) - 3.0 * (thetao - 10.0)
    so[0, 0, :3] = np.nan  # land points
    ds = xr.Dataset(
        {"thetao": (("lev", "lat", "lon"), thetao, {"units": "degC"}),
         "so": (("lev", "lat", "lon"), so, {"units": "1e-3"}),
         "talk": (("lev", "lat", "lon"), talk, {"units": "umol kg-1"}),
         "dissic": (("lev", "lat", "lon"), dissic, {"units": "umol kg-1"}),
         "pressure": (("lev",), lev, {"units": "dbar"})},
        coords={"lev": lev, "lat": lat, "lon": lon})
    return ds
