"""Brinora on xarray datasets, eagerly or lazily on dask-backed variables.

    >>> import xarray as xr, brinora.xarray
    >>> ds = xr.open_dataset("model.nc", chunks={"lev": 4})
    >>> out = brinora.xarray.compute(ds, salinity="so", temperature="thetao",
    ...                              ta="talk", tco2="dissic", constants=10)
    >>> out.to_netcdf("carbonate.nc")   # computed chunk by chunk

On dask-backed inputs the results are dask arrays of the same chunks, made
with ``xarray.apply_ufunc(..., dask="parallelized")``: nothing is computed
until the results are asked for, and then one chunk at a time, on whatever
dask scheduler is active (a ``dask.distributed`` client included).
"""

import numbers

import numpy as np
import xarray as xr

import brinora
from ._quantities import QUANTITIES
from ._version import __version__

_INPUTS = ("salinity", "temperature", "pressure", "phosphate", "silicate", "temperature_out",
           "pressure_out", "ta", "tco2", "ph", "fco2", "pco2", "wind_speed", "pco2_air")


def _status_meaning(message):
    text = message.replace("refused: ", "").split(" (")[0]
    return text.replace(" ", "_")


def _kernel(*arrays, names, fixed, keep, options, threads):
    """One block: the results in ``keep`` and the status, as a tuple."""
    inputs = dict(fixed)
    inputs.update(zip(names, arrays))
    result = brinora.compute(**inputs, **options, threads=threads)
    return tuple(result[name] for name in keep) + (result["status"],)


def compute(ds, salinity="so", temperature="thetao", pressure=None, phosphate=None,
            silicate=None, *, ta=None, tco2=None, ph=None, fco2=None, pco2=None,
            temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
            results=None, threads=None, **options):
    """The carbonate system of every point of ``ds``.

    Each input is the name of a variable of ``ds``, a DataArray or a number
    (None: not given). Units are brinora.compute's: salinity, degC, dbar,
    umol/kg, uatm, m/s. Exactly two of ta, tco2, ph, fco2, pco2 are needed.
    ``results``: the result names to keep (default: all of
    brinora.RESULT_NAMES); ``status`` is always added. ``options``:
    constants, khso4, ph_scale, flux, as for brinora.compute. ``threads``:
    worker threads per block (default: all cores for in-memory inputs, 1 for
    dask-backed ones, whose blocks dask already runs in parallel).

    Returns a Dataset on the inputs' dimensions and coordinates, each
    variable with units, long_name and, where CF defines one, standard_name;
    its attributes record the options and Brinora's version.
    """
    given = {"salinity": salinity, "temperature": temperature, "pressure": pressure,
             "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
             "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
             "pco2": pco2, "wind_speed": wind_speed, "pco2_air": pco2_air}
    carbonate = [n for n in brinora.PARAMETERS if given[n] is not None]
    if len(carbonate) != 2:
        raise ValueError("exactly two of the carbonate parameters ta, tco2, ph, fco2, pco2 are "
                         f"needed; given: {', '.join(carbonate) if carbonate else 'none'}")
    unknown = set(options) - {"constants", "khso4", "ph_scale", "flux"}
    if unknown:
        raise TypeError(f"unknown options: {', '.join(sorted(unknown))}")
    items = brinora.option_items(**options)
    keep = list(brinora.RESULT_NAMES if results is None else results)
    for name in keep:
        if name not in brinora.RESULT_NAMES:
            raise ValueError(f"unknown result {name!r}")

    names, arrays, fixed = [], [], {}
    for name in _INPUTS:
        value = given[name]
        if value is None:
            continue
        if isinstance(value, str):
            if value not in ds.variables:
                raise ValueError(f"{name}: the dataset has no variable {value!r}")
            value = ds[value]
        if isinstance(value, xr.DataArray):
            names.append(name)
            arrays.append(value)
        elif isinstance(value, (numbers.Real, np.number)) and not isinstance(value, bool):
            fixed[name] = value
        else:
            raise TypeError(f"{name}: a variable name, a DataArray or a number, "
                            f"not {type(value).__name__}")
    if not arrays:
        raise ValueError("at least one input must be a variable of the dataset")
    lazy = any(a.chunks is not None for a in arrays)
    if threads is None:
        threads = 1 if lazy else brinora.default_threads()

    outputs = xr.apply_ufunc(
        _kernel, *arrays,
        kwargs=dict(names=names, fixed=fixed, keep=keep, options=items, threads=threads),
        input_core_dims=[[]] * len(arrays),
        output_core_dims=[[]] * (len(keep) + 1),
        output_dtypes=[np.float32] * len(keep) + [np.int8],
        dask="parallelized",
        keep_attrs=False,
    )
    out = xr.Dataset()
    for name, variable in zip(keep + ["status"], outputs):
        out[name] = variable
    for name in keep:
        units, long_name, _ = QUANTITIES[name]
        out[name].attrs = {"units": units, "long_name": long_name}
        standard = brinora.standard_name(name, items["ph_scale"])
        if standard:
            out[name].attrs["standard_name"] = standard
    out["status"].attrs = {
        "long_name": "why a point was not computed (0: computed)",
        "flag_values": np.arange(len(brinora.STATUS_MESSAGES), dtype=np.int8),
        "flag_meanings": " ".join(_status_meaning(m) for m in brinora.STATUS_MESSAGES),
    }
    out.attrs = {
        "title": "Carbonate system of seawater computed by Brinora",
        "brinora_version": __version__,
        "constants": f"{items['constants']}: {brinora.option_title('constants', items['constants'])}",
        "khso4": f"{items['khso4']}: {brinora.option_title('khso4', items['khso4'])}",
        "ph_scale": f"{items['ph_scale']}: {brinora.option_title('ph_scale', items['ph_scale'])}",
        "flux": f"{items['flux']}: {brinora.option_title('flux', items['flux'])}",
        "inputs": ", ".join(f"{n}={given[n] if isinstance(given[n], (str, numbers.Real)) else n}"
                            for n in _INPUTS if given[n] is not None),
    }
    return out
