"""Brinora: the carbonate system of seawater on NumPy arrays.

    >>> import brinora
    >>> r = brinora.compute(35, 25, ta=2300, tco2=2000, constants=13)
    >>> float(r["ph"]), float(r["omega_aragonite"])

``compute`` takes arrays of any shape that broadcast together (or scalars)
and returns a :class:`Result`, a mapping from result names to float32 arrays
of the broadcast shape, plus ``status``. Every number is the one that
``brinora calc`` prints for the same inputs: the inputs are narrowed to
float32 as the program reads them, and the per-sample loop is the program's
own, run in C++ on ``threads`` worker threads without the GIL.

The submodules ``brinora.xarray`` and ``brinora.pandas`` apply it to xarray
datasets (lazily on dask) and to DataFrames in the batch file's layout.
"""

import operator
import os

import numpy as np

from . import _brinora
from ._quantities import PH_TOTAL_STANDARD_NAME, QUANTITIES
from ._version import __version__

__all__ = ["compute", "Result", "option_item", "option_items", "option_title", "QUANTITIES", "RESULT_NAMES",
           "STATUS_MESSAGES", "PARAMETERS", "__version__"]

#: Names of the results, in the order of the compiled core.
RESULT_NAMES = tuple(_brinora.RESULT_NAMES)
#: Status code -> the reason, in the program's words; code 0 is "computed".
STATUS_MESSAGES = tuple(_brinora.STATUS_MESSAGES)
#: The five carbonate parameters, in the order of preference of the pair.
PARAMETERS = ("ta", "tco2", "ph", "fco2", "pco2")

# Menus of the four options, as the compiled core numbers them.
_MENUS = {"constants": 0, "khso4": 1, "ph_scale": 2, "flux": 3}

#: Option values used when a call gives none: Lueker et al. (2000) constants,
#: the KHSO4 of Dickson (1990), the total pH scale, Wanninkhof (1992).
DEFAULT_OPTIONS = {"constants": 13, "khso4": 1, "ph_scale": 1, "flux": 1}


def option_item(option, value):
    """Menu item number of ``value`` for ``option`` ("constants", "khso4",
    "ph_scale" or "flux"): an item number, range-checked, or a menu title or a
    unique prefix of one, case-insensitively. Raises ValueError or TypeError."""
    if option not in _MENUS:
        raise ValueError(f"unknown option {option!r}: one of {', '.join(_MENUS)}")
    return _brinora.option_item(_MENUS[option], value)


def option_title(option, item):
    """The menu title of item number ``item`` of ``option``."""
    return _brinora.OPTION_TITLES[_MENUS[option]][option_item(option, item)]


def option_items(constants=None, khso4=None, ph_scale=None, flux=None):
    """The four options as menu item numbers (a dict), defaults filled in."""
    given = {"constants": constants, "khso4": khso4, "ph_scale": ph_scale, "flux": flux}
    return {name: option_item(name, DEFAULT_OPTIONS[name] if value is None else value)
            for name, value in given.items()}


def default_threads():
    """Cores this process may run on."""
    try:
        return max(1, len(os.sched_getaffinity(0)))
    except AttributeError:  # not on Linux
        return max(1, os.cpu_count() or 1)


class Result(dict):
    """Results of :func:`compute`: ``name -> float32 array`` for every name of
    ``RESULT_NAMES`` asked for (all by default; units and descriptions in
    ``brinora.QUANTITIES``), and
    ``"status"``, an int8 array: 0 where the sample was computed, otherwise
    the code of the reason it was refused, ``STATUS_MESSAGES[code]``. The
    results of a refused sample are NaN. ``options`` holds the menu items used.
    """

    def __init__(self, values, options):
        super().__init__(values)
        self.options = options

    @property
    def status(self):
        return self["status"]

    def reasons(self):
        """The status as text, one message per sample (an object array)."""
        return np.asarray(STATUS_MESSAGES, dtype=object)[self["status"]]

    def units(self, name):
        return QUANTITIES[name][0]


def _as_float32(name, value):
    """The input narrowed to float32 as the program reads a number: through
    double (an exact widening for every integer below 2**53 and every float
    up to double), then one rounding to float32."""
    if value is None:
        return np.zeros((), np.float32)
    array = np.asarray(value)
    kind = array.dtype.kind
    if kind == "f":
        if array.dtype.itemsize > 8:
            array = array.astype(np.float64)
        # A value beyond float32 becomes infinite; the sample is then refused.
        with np.errstate(over="ignore"):
            return array.astype(np.float32, copy=False)
    if kind in "biu":
        return array.astype(np.float64).astype(np.float32)
    raise TypeError(f"{name}: numbers are needed, not an array of dtype {array.dtype} "
                    f"({'complex numbers' if kind == 'c' else 'objects, strings or dates'})")


def _flatten(array, shape, size):
    """A one-dimensional float32 array of length 1 (one value for every
    sample) or ``size`` (one per sample, in C order)."""
    if array.size == 1:
        return np.ascontiguousarray(array.reshape(1))
    return np.ascontiguousarray(np.broadcast_to(array, shape)).reshape(size)


def _result_names(results):
    """The names asked for, checked: every result name when None."""
    if results is None:
        return RESULT_NAMES
    if isinstance(results, str):
        results = [results]
    names = list(dict.fromkeys(results))
    unknown = [name for name in names if name not in RESULT_NAMES]
    if unknown:
        raise ValueError(f"unknown result name(s) {', '.join(map(repr, unknown))}: the results are "
                         f"{', '.join(RESULT_NAMES)}")
    return tuple(names)


def compute(salinity, temperature, pressure=0, phosphate=0, silicate=0, *, ta=None, tco2=None,
            ph=None, fco2=None, pco2=None, temperature_out=None, pressure_out=None,
            wind_speed=None, pco2_air=None, constants=None, khso4=None, ph_scale=None,
            flux=None, threads=None, results=None):
    """The carbonate system of every element, at input and at output conditions.

    Inputs (arrays of any shape that broadcast together, or scalars):
    salinity; temperature [degC]; pressure [dbar]; phosphate and silicate
    [umol/kg]; exactly two of ta and tco2 [umol/kg], ph (on the chosen scale),
    fco2 and pco2 [uatm]; temperature_out [degC] and pressure_out [dbar], the
    output conditions (absent or 0: as at input); wind_speed [m/s] and
    pco2_air [uatm] for the air-sea flux. Inputs left out are 0, as an empty
    field of the program. -9 and -999 mark a missing value.

    Options, each a menu item number or a menu title (a unique prefix will do,
    in any case): constants (1..14), khso4 (1..2), ph_scale (1 Total,
    2 Seawater, 3 Free, 4 NBS), flux (1 Wanninkhof, 2 Nightingale, 3 Ho);
    defaults in DEFAULT_OPTIONS. threads: worker threads (default: every core
    this process may use). results: the names of the results to compute (of
    RESULT_NAMES; default: every one); only those are computed and returned,
    with ``status``, each with the bits the full call gives.

    Returns a :class:`Result`. A sample the calculation refuses (salinity or
    temperature missing, a chosen parameter negative, an input NaN or
    infinite) has NaN results and its reason in ``status``; the others are
    not affected.
    """
    parameters = {"ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2, "pco2": pco2}
    given = [name for name, value in parameters.items() if value is not None]
    if len(given) != 2:
        raise ValueError("exactly two of the carbonate parameters ta, tco2, ph, fco2, pco2 are "
                         f"needed; given: {', '.join(given) if given else 'none'}")
    names = _result_names(results)
    items = option_items(constants, khso4, ph_scale, flux)
    if threads is None:
        threads = default_threads()
    else:
        threads = operator.index(threads)
        if threads < 1:
            raise ValueError(f"threads must be at least 1, not {threads}")

    values = {"salinity": salinity, "temperature": temperature, "pressure": pressure,
              "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
              "pressure_out": pressure_out, **parameters, "pco2_air": pco2_air,
              "wind_speed": wind_speed}
    arrays = [_as_float32(name, values[name]) for name in _brinora.INPUT_NAMES]
    try:
        shape = np.broadcast_shapes(*(a.shape for a in arrays))
    except ValueError:
        shapes = ", ".join(f"{name} {a.shape}" for name, a in zip(_brinora.INPUT_NAMES, arrays)
                           if a.ndim)
        raise ValueError(f"the input shapes do not broadcast together: {shapes}") from None
    size = int(np.prod(shape, dtype=np.int64))
    flat = [_flatten(a, shape, size) for a in arrays]
    rows, status = _brinora.compute(
        flat, size, [items["constants"], items["khso4"], items["ph_scale"], items["flux"]],
        threads, None if results is None else [RESULT_NAMES.index(name) for name in names])
    out = {name: rows[i].reshape(shape) for i, name in enumerate(names)}
    out["status"] = status.reshape(shape)
    return Result(out, items)


def standard_name(name, ph_scale_item):
    """The CF standard name of a result, or None."""
    if name == "ph" and ph_scale_item == 1:
        return PH_TOTAL_STANDARD_NAME
    return QUANTITIES[name][2]
