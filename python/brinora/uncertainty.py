"""Exact sensitivities, propagated standard uncertainties and buffer factors.

    >>> import brinora
    >>> u = brinora.uncertainty(35, 18, ta=2300, tco2=2000, u_ta=2, u_tco2=2,
    ...                         u_salinity=0.01, u_temperature=0.01)
    >>> round(float(u["ph"]), 4), round(float(u["pco2"]), 2)
    (0.0119, 9.62)
    >>> max(u.budget["ph"], key=lambda s: float(u.budget["ph"][s]))
    'pk2'

The calculation behind these functions is Brinora's own, carried out in
double precision on dual numbers: every derivative is exact (forward-mode
automatic differentiation through the constants, the pH solves and every
derived quantity; the iterative solves by implicit differentiation at the
root), never a finite difference. The values it differentiates agree with
those of :func:`brinora.compute` to their single-precision rounding.

Sources (the independent variables): the two given carbonate parameters
(by their names, "ta", "tco2", "ph", "fco2", "pco2"), "salinity",
"temperature", "pressure", "phosphate", "silicate", "temperature_out",
"pressure_out", "pco2_air", "wind_speed" in the units of
:func:`brinora.compute`; the constants as the calculation uses them (on the
chosen pH scale, at the sample's pressure) in pK units, "pk0", "pk1", "pk2",
"pkb", "pkw", "pkspa", "pkspc", "pks", "pkf", "pkp1", "pkp2", "pkp3",
"pksi"; and total boron "bt", relative (0.02 is 2 %).

Results: the names of :func:`brinora.compute` ("ph", "pco2", "carbonate",
"omega_aragonite", ... and the same with "_out" at output conditions, where
TA and TCO2 are held), and "hydrogen_ion" [umol/kg].
"""

import operator

import numpy as np

from . import _brinora
from ._quantities import QUANTITIES

__all__ = ["sensitivities", "uncertainty", "buffers", "Uncertainty", "STANDARD", "RESULTS", "BUFFER_NAMES",
           "source_names"]

#: Result names of the functions here, in the compiled core's order.
RESULTS = tuple(_brinora.UNCERTAINTY_QUANTITIES)
_SOURCES = tuple(_brinora.UNCERTAINTY_SOURCES)
_CONSTANT_SOURCES = tuple(name for name in _SOURCES if name.startswith("pk") or name == "bt")

#: The standard uncertainties of the constants, Orr et al. (2018, Marine
#: Chemistry 207, 84-107): pK units, and total boron relative.
STANDARD = {name: value for name, value in zip(_SOURCES, _brinora.STANDARD_CONSTANT_UNCERTAINTIES)
            if name in _CONSTANT_SOURCES}

#: Buffer factors, at input conditions and (suffix "_out") at output
#: conditions: Egleston et al. (2010) gamma, beta and omega [umol/kg], the
#: Revelle factor d ln pCO2/d ln DIC, the isocapnic quotient dDIC/dTA at fixed
#: pCO2, and d ln pCO2/dT [1/degC], all at fixed TA and DIC.
BUFFER_NAMES = ("gamma_dic", "gamma_alk", "beta_dic", "beta_alk", "omega_dic", "omega_alk", "revelle_factor",
                "isocapnic_quotient", "dlnpco2_dt")

_PARAMETERS = ("ta", "tco2", "ph", "fco2", "pco2")
_STATUS = ("computed", "refused", "no solution")


def _prepare(salinity, temperature, pressure, phosphate, silicate, parameters, temperature_out,
             pressure_out, wind_speed, pco2_air, constants, khso4, ph_scale, flux, threads):
    """The inputs prepared as for :func:`brinora.compute` (one preparation
    for every front: the checks, float32, broadcasting, threads)."""
    from . import _prepare as prepare

    return prepare({"salinity": salinity, "temperature": temperature, "pressure": pressure,
                    "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
                    "pressure_out": pressure_out, **parameters, "pco2_air": pco2_air,
                    "wind_speed": wind_speed}, constants, khso4, ph_scale, flux, threads)


def source_names(first, second):
    """The names of the sources in the compiled core's order, for a pair of
    carbonate parameters (e.g. "ta", "tco2"): the order of ``covariance``."""
    return (first, second) + _SOURCES[2:]


def _status(status, shape):
    return status.reshape(shape)


def sensitivities(salinity, temperature, pressure=0, phosphate=0, silicate=0, *, ta=None, tco2=None, ph=None,
                  fco2=None, pco2=None, temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
                  constants=None, khso4=None, ph_scale=None, flux=None, threads=None):
    """Exact partial derivatives of every result with respect to every source.

    Inputs and options as :func:`brinora.compute`. Returns a dict
    ``result name -> {source name -> float64 array}`` of the broadcast
    shape, in the units of the result per unit of the source; NaN where the
    sample is refused or has no solution. ``"status"`` holds 0 (computed),
    1 (refused) or 2 (no solution) per sample.

    >>> d = sensitivities(35, 18, ta=2300, tco2=2000)
    >>> round(float(d["ph"]["ta"]), 7), round(float(d["pco2"]["temperature"]), 2)
    (0.0015592, 12.42)
    """
    parameters = {"ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2, "pco2": pco2}
    p = _prepare(salinity, temperature, pressure, phosphate, silicate, parameters, temperature_out, pressure_out,
                 wind_speed, pco2_air, constants, khso4, ph_scale, flux, threads)
    flat, shape, size, menu, pair, given, threads = p.flat, p.shape, p.size, p.menu, p.pair, p.given, p.threads
    values, gradient, status = _brinora.sensitivities(flat, size, menu, pair, threads)
    names = source_names(*given)
    out = {q: {s: gradient[i, j].reshape(shape) for j, s in enumerate(names)} for i, q in enumerate(RESULTS)}
    out["status"] = _status(status, shape)
    return out


class Uncertainty(dict):
    """Result of :func:`uncertainty`: ``result name -> u`` (float64 arrays,
    in the result's units), plus:

    ``budget[result][source]``: the part of u from that source alone,
    |dy/dx| u(x) (with no correlation the squares add up to u squared);
    ``values[result]``: the values the derivatives are taken at;
    ``status``: 0 computed, 1 refused, 2 no solution.
    """

    def __init__(self, u, budget, values, status):
        super().__init__(u)
        self.budget = budget
        self.values = values
        self.status = status


def _constant_uncertainties(u_constants):
    if u_constants is None:
        return {}
    if isinstance(u_constants, str):
        if u_constants != "standard":
            raise ValueError(f"unknown set of constants' uncertainties {u_constants!r}: 'standard', a dict or None")
        return dict(STANDARD)
    unknown = set(u_constants) - set(_CONSTANT_SOURCES)
    if unknown:
        raise ValueError(f"unknown constants {', '.join(sorted(unknown))}: one of {', '.join(_CONSTANT_SOURCES)}")
    return dict(u_constants)


def _correlation(correlation):
    rho = np.asarray(correlation, dtype=np.float64)
    if np.any(np.abs(rho) > 1):
        raise ValueError("correlation must lie in -1..1")
    return rho


def check_propagation(given, given_u, u_constants, correlation, covariance, method, draws):
    """The checks of an uncertainty call that need no sample: ``given``, the
    names of the pair; ``given_u``, source name -> its u or None. Returns
    the source names, the covariance matrix (or None), the uncertainties by
    source (the constants' included; None when a covariance is given) and
    the number of draws (0: linear). ``correlation`` is checked here when it
    is a number."""
    names = source_names(*given)
    if method not in ("linear", "monte_carlo"):
        raise ValueError(f"method is 'linear' or 'monte_carlo', not {method!r}")
    draws = operator.index(draws) if method == "monte_carlo" else 0
    if method == "monte_carlo" and draws < 2:
        raise ValueError("draws must be at least 2")
    for name in _PARAMETERS:
        if name not in given and given_u.get(name) is not None:
            raise ValueError(f"u_{name} is given but {name} is not one of the pair")
    if covariance is not None:
        matrix = np.ascontiguousarray(covariance, dtype=np.float64)
        if matrix.shape != (len(names), len(names)):
            raise ValueError(f"covariance must be {len(names)} x {len(names)} (sources {', '.join(names)})")
        if not np.allclose(matrix, matrix.T):
            raise ValueError("covariance must be symmetric")
        return names, matrix, None, draws
    if isinstance(correlation, (int, float, np.number)):
        _correlation(correlation)
    by_source = {name: value for name, value in given_u.items() if value is not None}
    by_source.update(_constant_uncertainties(u_constants))
    return names, None, by_source, draws


def _seeds(seed, shape):
    """The Monte Carlo seeds as the compiled core takes them: one (sample i
    is seeded by seed + i) or one per sample."""
    seeds = np.asarray(seed)
    if seeds.ndim == 0:
        return np.array([operator.index(seed)], dtype=np.uint64)
    if seeds.dtype.kind not in "iu":
        raise TypeError(f"seed must be an integer or an array of integers, not of dtype {seeds.dtype}")
    return np.ascontiguousarray(np.broadcast_to(seeds, shape)).reshape(-1).astype(np.uint64)


def uncertainty(salinity, temperature, pressure=0, phosphate=0, silicate=0, *, ta=None, tco2=None, ph=None,
                fco2=None, pco2=None, temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
                constants=None, khso4=None, ph_scale=None, flux=None, u_ta=None, u_tco2=None, u_ph=None,
                u_fco2=None, u_pco2=None, u_salinity=None, u_temperature=None, u_pressure=None,
                u_phosphate=None, u_silicate=None, u_temperature_out=None, u_pressure_out=None,
                u_pco2_air=None, u_wind_speed=None, u_constants="standard", correlation=0.0,
                covariance=None, method="linear", draws=10000, seed=0, budget=True, threads=None):
    """Combined standard uncertainty of every result.

    Inputs and options as :func:`brinora.compute`. ``u_<source>``: standard
    uncertainties of the inputs (arrays that broadcast with them, or
    scalars; left out: 0); ``u_constants``: "standard" (Orr et al. 2018,
    ``STANDARD``), a dict ``{"pk1": 0.01, ...}`` or None; ``correlation``:
    the correlation of the two given carbonate parameters (-1..1, default 0).
    ``covariance``: instead of all these, one covariance matrix of the 25
    sources in the order of ``source_names(first, second)``.

    ``method``: "linear", first-order propagation u(y)^2 = g' C g with the
    exact gradient g (the default), or "monte_carlo": ``draws`` normal
    draws of the sources per sample through the same calculation (seeded by
    ``seed`` plus the sample's index in C order, or, where ``seed`` is an
    array of integers that broadcasts with the inputs, by the sample's own
    seed; one sample spreads its draws over the threads), u being their standard deviation; it checks the linear result
    at large uncertainties and has no budget.

    ``budget``: False leaves the budget out (``.budget`` is then empty): on
    large arrays it is the largest part of the memory, some 100 bytes per
    sample, result and source.

    Returns an :class:`Uncertainty`.
    """
    parameters = {"ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2, "pco2": pco2}
    p = _prepare(salinity, temperature, pressure, phosphate, silicate, parameters, temperature_out, pressure_out,
                 wind_speed, pco2_air, constants, khso4, ph_scale, flux, threads)
    flat, shape, size, menu, pair, given, threads = p.flat, p.shape, p.size, p.menu, p.pair, p.given, p.threads
    given_u = {"ta": u_ta, "tco2": u_tco2, "ph": u_ph, "fco2": u_fco2, "pco2": u_pco2,
               "salinity": u_salinity, "temperature": u_temperature, "pressure": u_pressure,
               "phosphate": u_phosphate, "silicate": u_silicate, "temperature_out": u_temperature_out,
               "pressure_out": u_pressure_out, "pco2_air": u_pco2_air, "wind_speed": u_wind_speed}
    names, matrix, by_source, draws = check_propagation(given, given_u, u_constants, correlation, covariance,
                                                        method, draws)
    if matrix is not None:
        u_arrays = [np.zeros(1)] * len(names)
        correlation_array = np.zeros(1)
        covariance_flat = matrix.reshape(-1)
        budget_sources = [i for i in range(len(names)) if matrix[i, i] != 0]
    else:
        u_arrays = []
        for name in names:
            value = np.asarray(by_source.get(name, 0.0), dtype=np.float64)
            u_arrays.append(np.ascontiguousarray(np.broadcast_to(value, shape)).reshape(-1) if value.ndim
                            else value.reshape(1))
        rho = _correlation(correlation)
        correlation_array = (np.ascontiguousarray(np.broadcast_to(rho, shape)).reshape(-1) if rho.ndim
                             else rho.reshape(1))
        covariance_flat = np.zeros(0)
        budget_sources = [i for i, array in enumerate(u_arrays) if np.any(array != 0)]
    if not budget:
        budget_sources = []
    # Budgets are computed for the sources of non-zero uncertainty only; the
    # others are 0 (or NaN where the sample has no result).
    values, u, parts, status = _brinora.propagate(flat, size, menu, pair, u_arrays, correlation_array,
                                                  covariance_flat, budget_sources, draws, _seeds(seed, shape),
                                                  threads)
    result = {q: u[i].reshape(shape) for i, q in enumerate(RESULTS)}
    computed = status.reshape(shape) == 0
    nothing = np.where(computed, 0.0, np.nan) if draws == 0 else np.full(shape, np.nan)
    nothing.flags.writeable = False
    budgets = {}
    for i, q in enumerate(RESULTS if budget else ()):
        budgets[q] = {s: nothing for s in names}
        for k, j in enumerate(budget_sources):
            budgets[q][names[j]] = parts[i, k].reshape(shape)
    value_map = {q: values[i].reshape(shape) for i, q in enumerate(RESULTS)}
    return Uncertainty(result, budgets, value_map, _status(status, shape))


def buffers(salinity, temperature, pressure=0, phosphate=0, silicate=0, *, ta=None, tco2=None, ph=None,
            fco2=None, pco2=None, temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
            constants=None, khso4=None, ph_scale=None, flux=None, threads=None):
    """Buffer factors from the exact derivatives at fixed TA and DIC.

    Inputs and options as :func:`brinora.compute`. Returns a dict of float64
    arrays: every name of ``BUFFER_NAMES`` at input conditions and with
    "_out" at output conditions, and ``"status"``.

    >>> b = buffers(35, 18, ta=2300, tco2=2000)
    >>> round(float(b["revelle_factor"]), 2), round(float(b["dlnpco2_dt"]), 4)
    (9.69, 0.0417)
    """
    parameters = {"ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2, "pco2": pco2}
    p = _prepare(salinity, temperature, pressure, phosphate, silicate, parameters, temperature_out, pressure_out,
                 wind_speed, pco2_air, constants, khso4, ph_scale, flux, threads)
    flat, shape, size, menu, pair, given, threads = p.flat, p.shape, p.size, p.menu, p.pair, p.given, p.threads
    factors, status = _brinora.buffers(flat, size, menu, pair, threads)
    out = {}
    for c, suffix in enumerate(("", "_out")):
        for k, name in enumerate(BUFFER_NAMES):
            out[name + suffix] = factors[c, k].reshape(shape)
    out["status"] = _status(status, shape)
    return out


def units(name):
    """Units of a result of these functions."""
    if name.startswith("hydrogen_ion"):
        return "umol kg-1"
    return QUANTITIES[name][0]
