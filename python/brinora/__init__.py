"""Brinora: the carbonate system of seawater on NumPy arrays.

    >>> import brinora
    >>> r = brinora.compute(35, 25, ta=2300, tco2=2000, constants=13)
    >>> print(f"{r['ph']:.3f} {r['omega_aragonite']:.3f} {r['status']}")
    8.046 3.386 0

``compute`` takes arrays of any shape that broadcast together (or scalars)
in Brinora's units (no unit is read from the data: salinity on the Practical
Salinity Scale, temperatures in degC, pressures in dbar, amounts in umol/kg,
fCO2 and pCO2 in uatm) and returns a :class:`Result`, a mapping from result
names to float32 arrays of the broadcast shape, plus ``status``. Every number
is the one that ``brinora calc`` prints for the same inputs: the inputs are
narrowed to float32 as the program reads them, and the per-sample loop is the
program's own, run in C++ on ``threads`` worker threads without the GIL.

The submodules ``brinora.xarray`` and ``brinora.pandas`` apply it to xarray
datasets (reading their CF units and converting with TEOS-10, lazily on
dask) and to DataFrames.
"""

import operator
import os
import sys
import warnings
from typing import NamedTuple

try:
    import numpy as np
except ImportError as error:  # an interpreter without NumPy, such as a pyenv python3 first on PATH
    raise ImportError(f"brinora needs NumPy, which {sys.executable} does not have: run brinora "
                      "with the interpreter it was built for (Debian's /usr/bin/python3, "
                      "python3-numpy)") from error

from ._version import __version__, BUILT_FOR

try:
    from . import _brinora
except ImportError as error:
    raise ImportError(f"the compiled part of brinora does not load into {sys.executable} "
                      f"(Python {sys.version.split()[0]}); it was built for {BUILT_FOR}: "
                      f"{error}") from error

from ._quantities import PH_SCALES, QUANTITIES
from .uncertainty import buffers, sensitivities, uncertainty  # noqa: E402 (needs the helpers below at call time)

__all__ = ["compute", "check", "Result", "option_item", "option_items", "option_title",
           "QUANTITIES", "RESULT_NAMES", "STATUS_MESSAGES", "PARAMETERS", "SeawaterRangeWarning",
           "__version__"]

#: Names of the results, in the order of the compiled core.
RESULT_NAMES = tuple(_brinora.RESULT_NAMES)
#: The five carbonate parameters, in the order of preference of the pair.
PARAMETERS = ("ta", "tco2", "ph", "fco2", "pco2")
#: The fourteen inputs, in the order of the compiled core.
INPUT_NAMES = tuple(_brinora.INPUT_NAMES)

_CORE_MESSAGES = tuple(_brinora.STATUS_MESSAGES)
_NOT_A_NUMBER_FIRST = 8  # the core's code for input 0 not being a number
# Each input as the core's messages name it ("the salinity", "TA").
_WORDS = [m[len("refused: "):-len(" is not a number")]
          for m in _CORE_MESSAGES[_NOT_A_NUMBER_FIRST:_NOT_A_NUMBER_FIRST + len(INPUT_NAMES)]]
# Codes added here, after the core's: a masked input (one per input), an
# input outside the range of seawater (one per checked input), no number.
_MASKED_FIRST = len(_CORE_MESSAGES)
_CHECKED = [name for name in INPUT_NAMES if QUANTITIES[name].check]
_OUTSIDE_FIRST = _MASKED_FIRST + len(INPUT_NAMES)
NO_NUMBER = _OUTSIDE_FIRST + len(_CHECKED)


def _range_text(name):
    low, high = QUANTITIES[name].check
    units = {"1": "", "degC": " degC", "umol kg-1": " umol/kg"}[QUANTITIES[name].units]
    return f"{low:g}..{high:g}{units}"


#: Status code -> the reason, in the program's words; code 0 is "computed".
STATUS_MESSAGES = _CORE_MESSAGES + tuple(
    f"refused: {word} is masked (a missing value)" for word in _WORDS) + tuple(
    f"refused: {_WORDS[INPUT_NAMES.index(name)]} is outside {_range_text(name)}, "
    "which no seawater has" for name in _CHECKED) + (
    "some results are not a number (the calculation gave NaN; the others are kept)",)

# Menus of the four options, as the compiled core numbers them.
_MENUS = {"constants": 0, "khso4": 1, "ph_scale": 2, "flux": 3}

#: Option values used when a call gives none: Lueker et al. (2000) constants,
#: the KHSO4 of Dickson (1990), the total pH scale, Wanninkhof (1992).
DEFAULT_OPTIONS = {"constants": 13, "khso4": 1, "ph_scale": 1, "flux": 1}


class SeawaterRangeWarning(UserWarning):
    """Some inputs are outside what seawater can be (likely wrong units)."""


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


def attributes(name, ph_scale_item):
    """CF attributes of a result or input ``name`` (units, long_name and,
    where CF has one, standard_name), the pH named for its scale."""
    row = QUANTITIES[name]
    scale, ph_standard_name = PH_SCALES[ph_scale_item]
    attrs = {"units": row.units, "long_name": row.long_name.format(scale=scale)}
    standard = ph_standard_name if name == "ph" else row.standard_name
    if standard:
        attrs["standard_name"] = standard
    return attrs


def standard_name(name, ph_scale_item):
    """The CF standard name of a result, or None."""
    return attributes(name, ph_scale_item).get("standard_name")


class Result(dict):
    """Results of :func:`compute`: ``name -> float32 array`` for every name of
    ``RESULT_NAMES`` asked for (units and descriptions in
    ``brinora.QUANTITIES``), and ``"status"``, an int8 array: 0 where the
    sample was computed, otherwise the code of the reason it was refused,
    ``STATUS_MESSAGES[code]``. The results of a refused sample are NaN. A
    sample with a NaN result is never status 0: its status is ``NO_NUMBER``
    and its other results are those the program prints. ``options`` holds
    the menu items used.
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
        return QUANTITIES[name].units

    def to_dataframe(self, index=None):
        """A pandas DataFrame of one-dimensional results: a column per
        result and ``status``, one row per sample (on ``index`` if given).

        >>> r = compute([34.0, 35.0], 10.0, ta=2300, tco2=2000, results=["ph"])
        >>> r.to_dataframe().round(4)
               ph  status
        0  8.2908       0
        1  8.2778       0
        """
        import pandas as pd

        shape = self["status"].shape
        if len(shape) > 1:
            raise ValueError(f"to_dataframe needs one-dimensional results, not of shape {shape}: "
                             "use to_xarray(dims=...), or compute on flattened inputs")
        return pd.DataFrame({name: np.atleast_1d(values) for name, values in self.items()},
                            index=index)

    def to_xarray(self, dims=None, coords=None):
        """An xarray Dataset of the results on ``dims`` (default dim_0,
        dim_1, ...) and ``coords``, every variable with its CF attributes and
        ``status`` linked as its ancillary variable, as brinora.xarray gives."""
        from .xarray import result_dataset

        return result_dataset(self, dims, coords)


def _as_float32(name, value):
    """The input narrowed to float32 as the program reads a number, and its
    mask (None when nothing is masked): through double (an exact widening
    for every integer below 2**53 and every float up to double), then one
    rounding to float32. Masked elements (NumPy masked arrays, pandas
    nullable dtypes) become NaN."""
    if value is None:
        return np.zeros((), np.float32), None
    mask = None
    if np.ma.isMaskedArray(value):
        mask = np.ma.getmaskarray(value)
        value = np.ma.getdata(value)
    elif type(getattr(value, "dtype", None)).__module__.startswith("pandas") and hasattr(
            value, "to_numpy"):
        # A pandas extension dtype (Float64, Int32, ...): pd.NA is a masked value.
        mask = np.asarray(value.isna())
        try:
            value = value.to_numpy(dtype=np.float64, na_value=np.nan)
        except (TypeError, ValueError):
            raise TypeError(f"{name}: numbers are needed, not a column of dtype "
                            f"{value.dtype}") from None
    array = np.asarray(value)
    kind = array.dtype.kind
    if kind == "f":
        if array.dtype.itemsize > 8:
            array = array.astype(np.float64)
        # A value beyond float32 becomes infinite; the sample is then refused.
        with np.errstate(over="ignore"):
            array = array.astype(np.float32, copy=False)
    elif kind in "biu":
        array = array.astype(np.float64).astype(np.float32)
    else:
        raise TypeError(f"{name}: numbers are needed, not an array of dtype {array.dtype} "
                        f"({'complex numbers' if kind == 'c' else 'objects, strings or dates'})")
    if mask is not None:
        if not mask.any():
            mask = None
        else:
            array = np.where(mask, np.float32(np.nan), array)
    return array, mask


def _flatten(array, shape, size):
    """A one-dimensional float32 array of length 1 (one value for every
    sample) or ``size`` (one per sample, in C order)."""
    if array.size == 1:
        return np.ascontiguousarray(array.reshape(1))
    return np.ascontiguousarray(np.broadcast_to(array, shape)).reshape(size)


def _flux_inputs(wind_speed, pco2_air):
    """Refuses a flux input without the other, as the command line does."""
    if wind_speed is not None and pco2_air is None:
        raise ValueError("pCO2air is required to calculate Air-Sea flux: the air-sea flux needs "
                         "the pCO2 of the air as well as the wind speed: give pco2_air [uatm], or "
                         "leave out wind_speed")
    if pco2_air is not None and wind_speed is None:
        raise ValueError("Windspeed is required to calculate Air-Sea flux: the air-sea flux needs "
                         "the wind speed as well as the pCO2 of the air: give wind_speed [m/s], or "
                         "leave out pco2_air")


def _threads(threads):
    """The thread count asked for, checked: every core when None."""
    if threads is None:
        return default_threads()
    threads = operator.index(threads)
    if threads < 1:
        raise ValueError(f"threads must be at least 1, not {threads}")
    return threads


def _check_call(values, constants=None, khso4=None, ph_scale=None, flux=None, threads=None):
    """The checks of a call that need no data, shared by every front:
    exactly two carbonate parameters given, the flux inputs both or neither.
    ``values``: input name -> the value given or None. Returns the names of
    the pair (in the order of PARAMETERS), the options as menu items and the
    thread count."""
    given = [name for name in PARAMETERS if values.get(name) is not None]
    if len(given) != 2:
        raise ValueError("exactly two of the carbonate parameters ta, tco2, ph, fco2, pco2 are "
                         f"needed; given: {', '.join(given) if given else 'none'}")
    _flux_inputs(values.get("wind_speed"), values.get("pco2_air"))
    return given, option_items(constants, khso4, ph_scale, flux), _threads(threads)


class _Prepared(NamedTuple):
    """The inputs of a call as the compiled core takes them."""
    read: list  # (float32 array, mask or None) per input, in INPUT_NAMES order
    shape: tuple  # the broadcast shape
    size: int
    flat: list  # one-dimensional float32 arrays, of length 1 or size
    given: list  # the names of the pair
    items: dict  # the options as menu items
    threads: int

    @property
    def menu(self):
        return [self.items["constants"], self.items["khso4"], self.items["ph_scale"],
                self.items["flux"]]

    @property
    def pair(self):
        """The pair as the compiled core numbers it (TA 1 .. pCO2 5)."""
        return [PARAMETERS.index(name) + 1 for name in self.given]


def _prepare(values, constants=None, khso4=None, ph_scale=None, flux=None, threads=None):
    """The one preparation of the inputs of compute, sensitivities,
    uncertainty and buffers: the checks of :func:`_check_call`, every input
    narrowed to float32 (None: 0), the broadcast shape and the flat arrays.
    ``values``: input name -> the value given or None."""
    given, items, threads = _check_call(values, constants, khso4, ph_scale, flux, threads)
    read = [_as_float32(name, values.get(name)) for name in INPUT_NAMES]
    arrays = [array for array, _ in read]
    try:
        shape = np.broadcast_shapes(*(a.shape for a in arrays))
    except ValueError:
        shapes = ", ".join(f"{name} {a.shape}" for name, a in zip(INPUT_NAMES, arrays) if a.ndim)
        raise ValueError(f"the input shapes do not broadcast together: {shapes}") from None
    size = int(np.prod(shape, dtype=np.int64))
    flat = [_flatten(a, shape, size) for a in arrays]
    return _Prepared(read, shape, size, flat, given, items, threads)


def _result_names(results):
    """The names asked for, checked, as a list: every result name when None."""
    if results is None:
        return list(RESULT_NAMES)
    if isinstance(results, str):
        results = [results]
    names = list(dict.fromkeys(results))
    unknown = [name for name in names if name not in RESULT_NAMES]
    if unknown:
        raise ValueError(f"unknown result name(s) {', '.join(map(repr, unknown))}: the results are "
                         f"{', '.join(RESULT_NAMES)}")
    return names


def _outside(arrays, status):
    """Codes of the samples (status 0 only) whose checked inputs lie outside
    the range of seawater, 0 elsewhere, and the count per input."""
    codes = np.zeros(status.shape, np.int8)
    counts = {}
    for k, name in enumerate(_CHECKED):
        array = arrays.get(name)
        if array is None:
            continue
        low, high = QUANTITIES[name].check
        with np.errstate(invalid="ignore"):
            bad = np.broadcast_to((array < low) | (array > high), status.shape)
        bad = bad & (status == 0) & (codes == 0)
        if bad.any():
            codes[bad] = _OUTSIDE_FIRST + k
            counts[name] = int(np.count_nonzero(bad))
    return codes, counts


def _warn_outside(counts, size, stacklevel):
    parts = ", ".join(f"{_WORDS[INPUT_NAMES.index(n)]} outside {_range_text(n)}: {c}"
                      for n, c in counts.items())
    warnings.warn(f"{sum(counts.values())} of {size} samples have values that no seawater has "
                  f"({parts}); they are refused (see their status). brinora.compute takes "
                  "practical salinity, degC, dbar and umol/kg: check the units of the inputs.",
                  SeawaterRangeWarning, stacklevel=stacklevel)


def check(salinity, temperature, *, ta=None, tco2=None, warn=True):
    """Status codes of the samples whose inputs lie outside what seawater can
    be, 0 elsewhere (an int8 array of the broadcast shape): salinity outside
    0..50, temperature outside -3..45 degC, TA or TCO2 outside 100..5000
    umol/kg (which catches mol/kg, mol m-3 and Kelvin). With ``warn``, one
    SeawaterRangeWarning says how many. NaN is not flagged here.

    >>> import warnings
    >>> with warnings.catch_warnings():
    ...     warnings.simplefilter("ignore")
    ...     codes = check([35.0, 35.0, 35.0], [10.0, 283.15, 10.0], ta=[2300, 2300, 2.3])
    >>> [STATUS_MESSAGES[c] for c in codes]  # doctest: +NORMALIZE_WHITESPACE
    ['computed', 'refused: the temperature is outside -3..45 degC, which no seawater has',
     'refused: TA is outside 100..5000 umol/kg, which no seawater has']
    """
    given = {"salinity": salinity, "temperature": temperature, "ta": ta, "tco2": tco2}
    arrays = {n: _as_float32(n, v)[0] for n, v in given.items() if v is not None}
    shape = np.broadcast_shapes(*(a.shape for a in arrays.values()))
    codes, counts = _outside(arrays, np.zeros(shape, np.int8))
    if warn and counts:
        _warn_outside(counts, codes.size, 2)
    return codes


def compute(salinity, temperature, pressure=0, phosphate=0, silicate=0, *, ta=None, tco2=None,
            ph=None, fco2=None, pco2=None, temperature_out=None, pressure_out=None,
            wind_speed=None, pco2_air=None, constants=None, khso4=None, ph_scale=None,
            flux=None, results=None, validate=True, threads=None):
    """The carbonate system of every element, at input and at output conditions.

    Inputs (arrays of any shape that broadcast together, or scalars), in
    Brinora's units; no units are read from the data (brinora.xarray reads
    and converts them): salinity (Practical Salinity, PSS-78); temperature
    [degC], in situ; pressure [dbar], 0 at the surface; phosphate and silicate
    [umol/kg]; exactly two of ta and tco2 [umol/kg], ph (on the chosen
    scale), fco2 and pco2 [uatm]; temperature_out [degC] and pressure_out
    [dbar], the output conditions (absent or 0: as at input); wind_speed [m/s]
    and pco2_air [uatm] for the air-sea flux, both or neither. Inputs left
    out are 0, as an empty field of the program. -9 and -999 mark a missing
    value; so do the masked elements of a NumPy masked array or a pandas
    nullable column (a status of their own).

    Options, each a menu item number or a menu title (a unique prefix will do,
    in any case): constants (1..14), khso4 (1..2), ph_scale (1 Total,
    2 Seawater, 3 Free, 4 NBS), flux (1 Wanninkhof, 2 Nightingale, 3 Ho);
    defaults in DEFAULT_OPTIONS. results: the result names to return
    (default: all of RESULT_NAMES); only those are computed and returned, with
    ``status``, each with the bits the full call gives. validate:
    refuse the samples whose salinity, temperature, TA or TCO2 no seawater
    has (see :func:`check`) with one SeawaterRangeWarning; False computes
    them as the command line does. threads: worker threads (default: every
    core this process may use).

    Returns a :class:`Result`. A sample the calculation refuses (salinity or
    temperature missing, a chosen parameter negative, an input NaN,
    infinite, masked or outside seawater) has NaN results and its reason in
    ``status``; the others are not affected. A sample with a result that is
    NaN (a fill value of 1e20 with ``validate=False``; a salinity of 0 with
    constant sets that take its logarithm) has status ``NO_NUMBER``.
    """
    names = _result_names(results)
    values = {"salinity": salinity, "temperature": temperature, "pressure": pressure,
              "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
              "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
              "pco2": pco2, "pco2_air": pco2_air, "wind_speed": wind_speed}
    prepared = _prepare(values, constants, khso4, ph_scale, flux, threads)
    read, shape, size, flat, items = (prepared.read, prepared.shape, prepared.size, prepared.flat,
                                      prepared.items)
    arrays = [array for array, _ in read]
    rows, status = _brinora.compute(
        flat, size, prepared.menu, prepared.threads,
        None if results is None else [RESULT_NAMES.index(name) for name in names])
    status = status.reshape(shape)
    out = {**{name: rows[i].reshape(shape) for i, name in enumerate(names)}, "status": status}

    refused = np.zeros(shape, bool)
    for j, (name, (_, mask)) in enumerate(zip(INPUT_NAMES, read)):
        if mask is not None:
            masked = np.broadcast_to(mask, shape) & (status == _NOT_A_NUMBER_FIRST + j)
            status[masked] = _MASKED_FIRST + j
    if validate:
        codes, counts = _outside({n: a for n, a in zip(INPUT_NAMES, arrays)
                                  if n in _CHECKED and values[n] is not None}, status)
        if counts:
            flagged = codes != 0
            status[flagged] = codes[flagged]
            refused |= flagged
            _warn_outside(counts, size, 2)
    no_number = np.zeros(shape, bool)
    for name in names:
        no_number |= np.isnan(out[name])
    no_number &= status == 0
    status[no_number] = NO_NUMBER
    if refused.any():
        for name in names:
            out[name][refused] = np.nan
    return Result(out, items)
