"""Brinora on xarray datasets with CF metadata, eagerly or lazily on dask.

    >>> import numpy as np, xarray as xr, brinora.xarray
    >>> ds = xr.Dataset(
    ...     {"thetao": ("lev", [20.0, 3.0], {"units": "degC",
    ...                 "standard_name": "sea_water_potential_temperature"}),
    ...      "so": ("lev", [35.0, 34.7], {"units": "0.001"}),
    ...      "talk": ("lev", [2.35e-3 * 1025, 2.40e-3 * 1027], {"units": "mol m-3"}),
    ...      "dissic": ("lev", [2.05e-3 * 1025, 2.25e-3 * 1027], {"units": "mol m-3"})},
    ...     coords={"lev": ("lev", [5.0, 4000.0], {"units": "m", "positive": "down"}),
    ...             "lat": ((), 30.0, {"units": "degrees_north"})})
    >>> import warnings
    >>> with warnings.catch_warnings(record=True) as caught:
    ...     warnings.simplefilter("always", brinora.xarray.ConversionWarning)
    ...     out = brinora.xarray.compute(ds, ta="talk", tco2="dissic",
    ...                                  results=["pressure", "temperature", "ta", "ph"])
    >>> sum(w.category is brinora.xarray.ConversionWarning for w in caught)
    4
    >>> print(out.attrs["input_conversions"])
    pressure: from the depth lev [m] with TEOS-10 gsw.p_from_z at the latitude lat (sea pressure, dbar)
    temperature: thetao, potential temperature, to in-situ temperature with TEOS-10 gsw.CT_from_pt, gsw.t_from_CT at the pressure
    ta: talk in 'mol m-3' divided by the in-situ density (TEOS-10 gsw.rho_t_exact) to umol kg-1
    tco2: dissic in 'mol m-3' divided by the in-situ density (TEOS-10 gsw.rho_t_exact) to umol kg-1
    >>> out.ph.attrs["standard_name"], out.lev.attrs["positive"], out.attrs["Conventions"]
    ('sea_water_ph_reported_on_total_scale', 'down', 'CF-1.10')
    >>> for name in ("pressure", "temperature", "ta", "ph"):
    ...     print(f"{name:12}", "  ".join(f"{v:9.3f}" for v in out[name].values))
    pressure         5.034   4065.921
    temperature     20.001      3.381
    ta            2350.487   2356.813
    ph               8.114      7.904

Each input is read with its ``units`` and ``standard_name`` attributes (CF
conventions): unit strings by pint (mol m-3, mol kg-1, umol/kg, K, degC, dbar,
Pa, m, ...), seawater quantities by TEOS-10 (gsw): an amount per volume is
divided by the in-situ density, potential or Conservative Temperature becomes
in-situ temperature, Absolute or Reference Salinity becomes Practical
Salinity, and without a ``pressure`` the vertical coordinate of the inputs
(``positive: down``, or ``standard_name: depth``) gives the pressure at the
latitude. Each conversion made is reported once, as a ConversionWarning and in
the result's ``input_conversions`` attribute. An input whose units cannot be
read is refused unless ``units=`` gives them.

On dask-backed inputs the results are dask arrays of the same chunks, made
with ``xarray.apply_ufunc(..., dask="parallelized")``: nothing is computed
until the results are asked for, and then one chunk at a time, on whatever
dask scheduler is active. On a dask.distributed cluster, write the results
with ``to_zarr``: each chunk is written on its own, with no lock, so a
worker that dies is replaced and its chunks written again (``to_netcdf``
holds a file lock that a dead worker never gives back).

``sensitivities``, ``uncertainty`` and ``buffers`` apply brinora's functions
of those names to a dataset in the same way (inputs read and converted
alike, lazy on dask), with CF attributes: ``u_<result>`` "standard
uncertainty of ..." with the standard name "<name> standard_error", the
budget on a dimension ``source``; ``add_uncertainty`` puts the
uncertainties beside compute's results, linked by ``ancillary_variables``.
"""

import datetime
import sys
import warnings
from typing import NamedTuple

import numpy as np
import xarray as xr

import brinora
from . import _cf
from ._version import __version__

_INPUTS = brinora.INPUT_NAMES
_FLUX_RESULTS = ("co2_flux", "co2_flux_out", "pco2_air", "wind_speed")


class ConversionWarning(UserWarning):
    """An input was converted to the units brinora.compute takes."""


def _status_meaning(message):
    text = message.replace("refused: ", "").split(" (")[0].split(",")[0]
    return "".join(c if c.isalnum() or c in "_-." else "_" for c in text.replace(" ", "_"))


def _kernel(*arrays, names, fixed, keep, options, validate, threads):
    """One block: the results in ``keep`` and the status, as a tuple."""
    inputs = dict(fixed)
    inputs.update(zip(names, arrays))
    result = brinora.compute(**inputs, **options, results=keep, validate=validate,
                             threads=threads)
    return tuple(result[name] for name in keep) + (result["status"],)


def check_workers(client=None):
    """Raises RuntimeError when a worker of the dask.distributed ``client``
    (default: the current one, if any) cannot import this brinora, with the
    worker's error, instead of leaving the computation waiting."""
    if client is None:
        if "distributed" not in sys.modules:
            return
        from distributed import default_client
        try:
            client = default_client()
        except ValueError:  # no client: dask's own schedulers run in this process
            return
    answers = client.run(eval, "__import__('brinora._brinora').__version__", on_error="return")
    for worker, answer in sorted(answers.items()):
        if isinstance(answer, BaseException):
            raise RuntimeError(f"the dask worker {worker} cannot import brinora: "
                               f"{type(answer).__name__}: {answer}") from answer
        if answer != __version__:
            raise RuntimeError(f"the dask worker {worker} has brinora {answer}, not {__version__}")


def _attach(ds, name, value):
    """An input as a DataArray, a number or None: a variable name of ``ds``,
    a DataArray or a number."""
    if value is None:
        return None
    if isinstance(value, str):
        if value not in ds.variables:
            raise ValueError(f"{name}: the dataset has no variable {value!r}")
        return ds[value]
    if isinstance(value, xr.DataArray) or _cf.is_number(value):
        return value
    raise TypeError(f"{name}: a variable name, a DataArray or a number, not {type(value).__name__}")


def _input(name, value, units):
    if isinstance(value, xr.DataArray):
        given = units.get(name, value.attrs.get("units"))
        return _cf.Input(name, value, value.name or name, given, value.attrs.get("standard_name"))
    return _cf.Input(name, value, repr(value), units.get(name, brinora.QUANTITIES[name].units), None)


def compute(ds, salinity="so", temperature="thetao", pressure=None, phosphate=None,
            silicate=None, *, ta=None, tco2=None, ph=None, fco2=None, pco2=None,
            temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
            latitude=None, longitude=None, units=None, results=None, validate=True,
            threads=None, **options):
    """The carbonate system of every point of ``ds``.

    Each input is the name of a variable of ``ds``, a DataArray or a number
    (None: not given). Variables are read in their own units (see the
    module's text); numbers are in brinora.compute's units. ``pressure``
    left out: from the inputs' vertical coordinate if they have one, else 0
    (the surface). ``latitude``, ``longitude``: for the TEOS-10 conversions
    (default: the inputs' coordinates of standard_name latitude and
    longitude). ``units``: input name -> unit string, used instead of a
    variable's own. Exactly two of ta, tco2, ph, fco2, pco2 are needed;
    wind_speed and pco2_air both or neither. ``results``: the result names
    to keep (default: all of brinora.RESULT_NAMES, the flux only with its
    inputs); ``status`` is always added. ``validate``: as for
    brinora.compute. ``options``: constants, khso4, ph_scale, flux.
    ``threads``: worker threads per block (default: all cores for in-memory
    inputs, 1 for dask-backed ones, whose blocks dask already runs in
    parallel).

    Returns a Dataset on the inputs' dimensions and coordinates (with their
    attributes), CF-1.10: every result with units, long_name, standard_name
    where CF has one, and ``ancillary_variables`` naming ``status`` (with
    flag_values and flag_meanings); ``history`` and ``input_conversions``
    say what ran.
    """
    given = {"salinity": salinity, "temperature": temperature, "pressure": pressure,
             "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
             "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
             "pco2": pco2, "wind_speed": wind_speed, "pco2_air": pco2_air}
    items, threads = _check(given, options, threads)
    flux = wind_speed is not None
    if results is None:
        keep = [n for n in brinora.RESULT_NAMES if flux or n not in _FLUX_RESULTS]
    else:
        keep = brinora._result_names(results)
        if not flux and set(keep) & set(_FLUX_RESULTS):
            raise ValueError("the air-sea flux needs wind_speed and pco2_air: "
                             f"{', '.join(n for n in keep if n in _FLUX_RESULTS)} cannot be computed")
    read = _read(ds, given, latitude, longitude, units)
    names, data, fixed = read.names, read.data, read.fixed

    outputs = xr.apply_ufunc(
        _kernel, *data,
        kwargs=dict(names=names, fixed=fixed, keep=keep, options=items, validate=validate,
                    threads=read.threads(threads)),
        input_core_dims=[[]] * len(data),
        output_core_dims=[[]] * (len(keep) + 1),
        output_dtypes=[np.float32] * len(keep) + [np.int8],
        dask="parallelized",
        keep_attrs=False,
    )
    out = xr.Dataset(dict(zip(keep + ["status"], outputs)))
    _finish(out, read, keep, items, "compute", ds)
    return out


def _check(given, options, threads):
    """The checks of a call that need no data (brinora._check_call): the
    options as menu items, and the thread count asked for (None stays None:
    see _Read.threads)."""
    unknown = set(options) - {"constants", "khso4", "ph_scale", "flux"}
    if unknown:
        raise TypeError(f"unknown options: {', '.join(sorted(unknown))}")
    _, items, _ = brinora._check_call(given, threads=1, **options)
    if threads is not None:
        threads = brinora._threads(threads)
    return items, threads


class _Read(NamedTuple):
    """The inputs of a call read from the dataset and converted."""
    given: dict  # input name -> what the call gave (a name, a DataArray, a number or None)
    names: list  # the inputs that are DataArrays after conversion
    data: list  # ... and those DataArrays
    fixed: dict  # the inputs that are numbers
    arrays: list  # the DataArrays given, whose coordinates the results take
    inputs: dict  # input name -> _cf.Input
    notes: list  # the conversions made, in words
    converted: dict
    lazy: bool  # some input is dask-backed

    def threads(self, threads):
        """Worker threads per block: as asked, else all cores for in-memory
        inputs and 1 for dask-backed ones (dask runs the blocks in parallel)."""
        if threads is not None:
            return threads
        return 1 if self.lazy else brinora.default_threads()


def _read(ds, given, latitude, longitude, units, stacklevel=3):
    """Every input of ``given`` (input name -> a variable name of ``ds``, a
    DataArray, a number or None) read with its CF attributes and converted
    to brinora.compute's units; each conversion warned once."""
    units = dict(units or {})
    for name in units:
        if name not in _INPUTS and name not in ("latitude", "longitude"):
            raise ValueError(f"units: {name!r} is not an input")
    for name in ("salinity", "temperature"):
        if given[name] is None:
            raise ValueError(f"{name} is needed")

    values = {name: _attach(ds, name, given[name]) for name in _INPUTS}
    arrays = [v for v in values.values() if isinstance(v, xr.DataArray)]
    if not arrays:
        raise ValueError("at least one input must be a variable of the dataset")
    inputs = {name: _input(name, v, units) for name, v in values.items() if v is not None}
    located = {}
    for name, test in (("latitude", _cf.is_latitude), ("longitude", _cf.is_longitude)):
        value = _attach(ds, name, latitude if name == "latitude" else longitude)
        if value is None:
            value = _cf.find_coordinate(arrays, xr.Dataset(), test)
        located[name] = None if value is None else _input_place(name, value)
    vertical = None
    if given["pressure"] is None:
        found = _cf.find_coordinate(arrays, xr.Dataset(), _cf.is_vertical)
        if found is not None:
            vertical = _cf.Input("pressure", found, found.name, units.get("pressure",
                                 found.attrs.get("units")), found.attrs.get("standard_name"))
    converted, notes = _cf.convert(inputs, vertical, located["latitude"], located["longitude"])
    for note in notes:
        warnings.warn(note, ConversionWarning, stacklevel=stacklevel)

    names, data, fixed = [], [], {}
    for name, value in converted.items():
        if isinstance(value, xr.DataArray):
            names.append(name)
            data.append(value)
        else:
            fixed[name] = value
    lazy = any(a.chunks is not None for a in data)
    if lazy:
        check_workers()
    return _Read(given, names, data, fixed, arrays, inputs, notes, converted, lazy)


def _finish(out, read, keep, items, function, ds, status=True):
    """The coordinates' attributes from the inputs, CF attributes of the
    results in ``keep``, the status (with ``status``) and the dataset, and
    the notes of the input conversions."""
    for name, coordinate in out.coords.items():
        for array in read.arrays:
            if name in array.coords:
                coordinate.attrs = dict(array.coords[name].attrs)
                break
    given = read.given
    described = ", ".join(f"{n}={given[n] if isinstance(given[n], str) else read.inputs[n].source}"
                          for n in _INPUTS if given[n] is not None)
    _decorate(out, keep, items, f"brinora.xarray.{function}({described})", ds.attrs.get("history"),
              status)
    out.attrs["input_conversions"] = "\n".join(read.notes) if read.notes else "none"
    if "pressure" not in read.converted:
        out.attrs["pressure"] = "none given and no vertical coordinate: 0 dbar (the surface)"


def _input_place(name, value):
    source = value.name if isinstance(value, xr.DataArray) else repr(value)
    return _cf.Input(name, value, source, None, name)


def _decorate(out, keep, items, call, history, status=True):
    """CF attributes of the results, the status (with ``status``) and the dataset."""
    for name in keep:
        out[name].attrs = {**brinora.attributes(name, items["ph_scale"]),
                           "ancillary_variables": "status"}
    if status:
        _status_attributes(out)
    stamp = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    line = f"{stamp} {call} with Brinora {__version__}"
    out.attrs = {
        "Conventions": "CF-1.10",
        "title": "Carbonate system of seawater computed by Brinora",
        "history": line if not history else f"{line}\n{history}",
        "brinora_version": __version__,
        **{option: f"{items[option]}: {brinora.option_title(option, items[option])}"
           for option in ("constants", "khso4", "ph_scale", "flux")},
    }


def _status_attributes(out):
    out["status"].attrs = {
        "long_name": "why a point was not computed (0: computed)",
        "standard_name": "status_flag",
        "flag_values": np.arange(len(brinora.STATUS_MESSAGES), dtype=np.int8),
        "flag_meanings": " ".join(_status_meaning(m) for m in brinora.STATUS_MESSAGES),
    }


def result_dataset(result, dims=None, coords=None):
    """A brinora.Result as a CF Dataset on ``dims`` and ``coords``."""
    shape = result["status"].shape
    if dims is None:
        dims = tuple(f"dim_{i}" for i in range(len(shape)))
    elif isinstance(dims, str):
        dims = (dims,)
    if len(dims) != len(shape):
        raise ValueError(f"{len(dims)} dims given for results of shape {shape}")
    out = xr.Dataset({name: (dims, values) for name, values in result.items()}, coords=coords)
    keep = [name for name in result if name != "status"]
    _decorate(out, keep, result.options, "brinora.compute", None)
    return out


# The uncertainty wrappers, which use the functions above; they are this module's.
from ._xarray_uncertainty import add_uncertainty, buffers, sensitivities, uncertainty  # noqa: E402

for _function in (sensitivities, uncertainty, buffers, add_uncertainty):
    _function.__module__ = __name__
del _function
