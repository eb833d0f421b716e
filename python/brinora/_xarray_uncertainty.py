"""brinora.sensitivities, brinora.uncertainty and brinora.buffers on xarray
datasets, eagerly or lazily on dask, with CF attributes (brinora.xarray
re-exports the functions here; its text says how the inputs are read).

The inputs are read and converted as brinora.xarray.compute reads them, and
the derivatives and uncertainties are in brinora.compute's units (the
units of every variable are in its ``units`` attribute). On dask-backed
inputs each function builds one task per chunk
(``xarray.apply_ufunc(..., dask="parallelized")``) and computes nothing until
the result is computed or loaded; on in-memory inputs it computes at once.
"""

import warnings

import numpy as np
import xarray as xr

import brinora
from . import _cf
from . import _uncertainty_table as table
from . import xarray as front
from .uncertainty import check_propagation, source_names

# The status of the double-precision calculation (brinora.uncertainty.Uncertainty.status).
_STATUS_ATTRS = {
    "long_name": "why a point has no derivatives (0: computed)",
    "standard_name": "status_flag",
    "flag_values": np.arange(3, dtype=np.int8),
    "flag_meanings": "computed refused no_solution",
}
#: The uncertainty's status variable, named so as to sit beside compute's ``status``.
UNCERTAINTY_STATUS = "uncertainty_status"


def _given(salinity, temperature, pressure, phosphate, silicate, ta, tco2, ph, fco2, pco2,
           temperature_out, pressure_out, wind_speed, pco2_air):
    return {"salinity": salinity, "temperature": temperature, "pressure": pressure,
            "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
            "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
            "pco2": pco2, "wind_speed": wind_speed, "pco2_air": pco2_air}


def _call_inputs(names, arrays, fixed):
    inputs = dict(fixed)
    inputs.update(zip(names, arrays))
    return inputs


def _apply(kernel, read, extra_names, extra_data, kwargs, outputs, sizes=None):
    """xarray.apply_ufunc of ``kernel`` over the converted inputs and the
    extra DataArrays; ``outputs``: (dtype, core dims) of each output."""
    names = read.names + extra_names
    data = read.data + extra_data
    options = {}
    if sizes:
        options["dask_gufunc_kwargs"] = {"output_sizes": sizes}
    return xr.apply_ufunc(
        kernel, *data,
        kwargs=dict(names=names, **kwargs),
        input_core_dims=[[]] * len(data),
        output_core_dims=[core for _, core in outputs],
        output_dtypes=[dtype for dtype, _ in outputs],
        dask="parallelized",
        keep_attrs=False,
        **options,
    )


def _finish(out, read, items, function, ds, title):
    front._finish(out, read, [], items, function, ds, status=False)
    out.attrs["title"] = title


# -- sensitivities ---------------------------------------------------------

def _sensitivity_kernel(*arrays, names, fixed, pairs, options, threads):
    d = brinora.sensitivities(**_call_inputs(names, arrays, fixed), **options, threads=threads)
    return tuple(d[result][source] for result, source in pairs) + (d["status"],)


def sensitivities(ds, salinity="so", temperature="thetao", pressure=None, phosphate=None,
                  silicate=None, *, ta=None, tco2=None, ph=None, fco2=None, pco2=None,
                  temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
                  latitude=None, longitude=None, units=None, results=None, sources=None,
                  threads=None, **options):
    """Exact partial derivatives of the results with respect to the sources
    at every point of ``ds``.

    Inputs, ``latitude``, ``longitude``, ``units``, ``threads`` and
    ``options`` as for brinora.xarray.compute. ``results``: names of
    brinora.uncertainty.RESULTS (default: all; the flux only with its
    inputs); ``sources``: names of ``source_names(first, second)`` (default:
    all of the pair's, the flux inputs only when given).

    Returns a Dataset with a float64 variable ``d<result>_d<source>`` per
    result and source (``dph_dta`` is dpH/dTA), in the result's units per
    the source's (brinora.compute's units; the constants in pK units, total
    boron relative), with its ``long_name``, and ``status``: 0 computed, 1
    refused, 2 no solution.
    """
    given = _given(salinity, temperature, pressure, phosphate, silicate, ta, tco2, ph, fco2, pco2,
                   temperature_out, pressure_out, wind_speed, pco2_air)
    items, threads = front._check(given, options, threads)
    pair = [name for name in brinora.PARAMETERS if given[name] is not None]
    flux = wind_speed is not None
    keep = table.results_asked(results, flux)
    chosen = table.sources_asked(sources, source_names(*pair), flux)
    read = front._read(ds, given, latitude, longitude, units)
    pairs = [(result, source) for result in keep for source in chosen]
    outputs = _apply(_sensitivity_kernel, read, [], [],
                     dict(fixed=read.fixed, pairs=pairs, options=items,
                          threads=read.threads(threads)),
                     [(np.float64, [])] * len(pairs) + [(np.int8, [])])
    names = [table.derivative_name(result, source) for result, source in pairs]
    out = xr.Dataset(dict(zip(names + ["status"], outputs)))
    for name, (result, source) in zip(names, pairs):
        out[name].attrs = {**table.derivative_attributes(result, source, items["ph_scale"]),
                           "ancillary_variables": "status"}
    out["status"].attrs = dict(_STATUS_ATTRS)
    _finish(out, read, items, "sensitivities", ds,
            "Sensitivities of the carbonate system of seawater computed by Brinora")
    return out


# -- uncertainty -----------------------------------------------------------

def _uncertainty_kernel(*arrays, names, fixed, keep, budget_sources, arguments, threads):
    u = brinora.uncertainty(**_call_inputs(names, arrays, fixed), **arguments,
                            budget=bool(budget_sources), threads=threads)
    values = tuple(u[name] for name in keep)
    if budget_sources:
        values += tuple(np.stack([u.budget[name][source] for source in budget_sources], axis=-1)
                        for name in keep)
    return values + (u.status,)


def _uncertainty_of(ds, name, value, units):
    """A standard uncertainty ``u_<name>`` as a number or a DataArray in
    brinora.compute's units: a number as given, a DataArray (or a variable
    of ``ds``) converted from its ``units`` (or units["u_<name>"]) by the
    scale of the conversion alone, as a difference is converted. Returns
    the value and the note of a conversion made (or None)."""
    what = f"u_{name}"
    value = front._attach(ds, what, value)
    if not isinstance(value, xr.DataArray):
        return value, None
    source = value.name or what
    given = units.get(what, value.attrs.get("units"))
    kind = brinora.QUANTITIES[name].kind
    target = _cf.KINDS[kind]
    text = "" if given is None else given.strip()
    if kind in ("salinity", "ph") and text.lower() in _cf._SALINITY_NAMES:
        return value, None
    if given is None:
        raise _cf.UnitsError(f"{what} ({source}) has no units; give units={{{what!r}: ...}} to "
                             "say which units the values are in "
                             f"({brinora.QUANTITIES[name].units})")
    factors = _cf.linear(text, target, f"{what} ({source})")
    if factors is None:
        raise _cf.UnitsError(f"{what} ({source}) has units {given!r}, which cannot be converted "
                             f"to {brinora.QUANTITIES[name].units!r} by a factor; give it in "
                             f"{brinora.QUANTITIES[name].units!r}")
    scale = factors[0] / 1e-3 if kind == "salinity" else factors[0]
    if abs(scale - 1.0) < 1e-12:
        return value, None
    return (value.astype(np.float64) * scale,
            f"{what}: {source} converted from {given!r} to {brinora.QUANTITIES[name].units!r} "
            f"(pint, a factor of {scale:g})")


def uncertainty(ds, salinity="so", temperature="thetao", pressure=None, phosphate=None,
                silicate=None, *, ta=None, tco2=None, ph=None, fco2=None, pco2=None,
                temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
                latitude=None, longitude=None, units=None, u_ta=None, u_tco2=None, u_ph=None,
                u_fco2=None, u_pco2=None, u_salinity=None, u_temperature=None, u_pressure=None,
                u_phosphate=None, u_silicate=None, u_temperature_out=None, u_pressure_out=None,
                u_pco2_air=None, u_wind_speed=None, u_constants="standard", correlation=0.0,
                covariance=None, method="linear", draws=10000, seed=0, budget=False,
                results=None, threads=None, **options):
    """Combined standard uncertainty of the results at every point of ``ds``.

    Inputs, ``latitude``, ``longitude``, ``units``, ``threads`` and
    ``options`` as for brinora.xarray.compute; ``u_<source>``, each a number
    in brinora.compute's units, a variable name or a DataArray (converted
    from its ``units``, or ``units["u_<source>"]``, by a factor: per-volume
    amounts and depths are refused); ``correlation`` a number, a variable
    name or a DataArray; ``u_constants``, ``covariance``, ``method``,
    ``draws`` and ``seed`` as for brinora.uncertainty (a Monte Carlo point
    is seeded by ``seed`` plus its position in C order on the result's
    dimensions, on dask too: the result does not depend on the chunks).
    ``results``: names of brinora.uncertainty.RESULTS (default: all, the
    flux only with its inputs).

    Returns a Dataset: ``u_<result>`` (float64) per result, with the
    result's ``units``, ``long_name`` "standard uncertainty of ..." and,
    where the result has a CF standard name, ``standard_name`` "<that name>
    standard_error"; ``uncertainty_status`` (0 computed, 1 refused, 2 no
    solution). With ``budget=True`` (linear method only), also
    ``u_<result>_budget`` on a first dimension ``source`` (a coordinate of
    the source names): the part of u from each source alone, |dy/dx| u(x),
    for the sources of a non-zero uncertainty (with no correlation their
    squares add up to u squared). :func:`add_uncertainty` puts them beside
    the results of brinora.xarray.compute.
    """
    given = _given(salinity, temperature, pressure, phosphate, silicate, ta, tco2, ph, fco2, pco2,
                   temperature_out, pressure_out, wind_speed, pco2_air)
    items, threads = front._check(given, options, threads)
    units = dict(units or {})
    pair = [name for name in brinora.PARAMETERS if given[name] is not None]
    given_u = {"ta": u_ta, "tco2": u_tco2, "ph": u_ph, "fco2": u_fco2, "pco2": u_pco2,
               "salinity": u_salinity, "temperature": u_temperature, "pressure": u_pressure,
               "phosphate": u_phosphate, "silicate": u_silicate,
               "temperature_out": u_temperature_out, "pressure_out": u_pressure_out,
               "pco2_air": u_pco2_air, "wind_speed": u_wind_speed}
    if not isinstance(correlation, (str, xr.DataArray)):
        rho = correlation
    else:
        rho = None
    names, matrix, by_source, drawn = check_propagation(pair, given_u, u_constants, rho,
                                                        covariance, method, draws)
    if budget and drawn:
        raise ValueError("a Monte Carlo result has no budget: budget=True needs method='linear'")
    keep = table.results_asked(results, wind_speed is not None)
    for name in units:
        if name.startswith("u_") and name[2:] not in given_u:
            raise ValueError(f"units: {name!r} is not the uncertainty of an input")
    read = front._read(ds, given, latitude, longitude,
                       {k: v for k, v in units.items() if not k.startswith("u_")})

    arguments = dict(**items, u_constants=u_constants, covariance=covariance, method=method,
                     draws=draws, seed=seed)
    fixed = dict(read.fixed)
    extra_names, extra_data, notes = [], [], []
    for name, value in given_u.items():
        if value is None:
            continue
        value, note = _uncertainty_of(ds, name, value, units)
        if note:
            notes.append(note)
            warnings.warn(note, front.ConversionWarning, stacklevel=2)
        if isinstance(value, xr.DataArray):
            extra_names.append(f"u_{name}")
            extra_data.append(value)
        else:
            fixed[f"u_{name}"] = value
    correlation = front._attach(ds, "correlation", correlation)
    if isinstance(correlation, xr.DataArray):
        extra_names.append("correlation")
        extra_data.append(correlation)
    else:
        fixed["correlation"] = correlation
    if drawn and read.lazy:
        # Each point seeded as in one call on the whole grid, whatever the chunks.
        extra_names.append("seed")
        extra_data.append(_positions(read.data + extra_data, seed))
        del arguments["seed"]

    budget_sources = table.budget_sources(names, matrix, by_source) if budget else []
    outputs = [(np.float64, [])] * len(keep)
    if budget_sources:
        outputs += [(np.float64, ["source"])] * len(keep)
    outputs += [(np.int8, [])]
    values = _apply(_uncertainty_kernel, read, extra_names, extra_data,
                    dict(fixed=fixed, keep=keep, budget_sources=budget_sources,
                         arguments=arguments, threads=read.threads(threads)),
                    outputs, {"source": len(budget_sources)} if budget_sources else None)
    out = xr.Dataset({f"u_{name}": values[k] for k, name in enumerate(keep)})
    scale = items["ph_scale"]
    for name in keep:
        out[f"u_{name}"].attrs = {**table.uncertainty_attributes(name, scale),
                                  "ancillary_variables": UNCERTAINTY_STATUS}
    if budget_sources:
        for k, name in enumerate(keep):
            variable = values[len(keep) + k]
            out[f"u_{name}_budget"] = variable.transpose("source", *variable.dims[:-1])
            out[f"u_{name}_budget"].attrs = table.budget_attributes(name, scale)
        out.coords["source"] = ("source", budget_sources, {"long_name": "source of uncertainty"})
    out[UNCERTAINTY_STATUS] = values[-1]
    out[UNCERTAINTY_STATUS].attrs = dict(_STATUS_ATTRS)
    _finish(out, read, items, "uncertainty", ds,
            "Standard uncertainties of the carbonate system of seawater computed by Brinora")
    read_notes = out.attrs["input_conversions"]
    if notes:
        out.attrs["input_conversions"] = "\n".join(
            ([] if read_notes == "none" else [read_notes]) + notes)
    out.attrs["uncertainty_method"] = (
        "linear: first-order propagation with exact derivatives (JCGM 100:2008)" if not drawn else
        f"monte_carlo: {draws} normal draws per sample, seed {seed}")
    return out


def _seeds_of_block(seed, block_info=None):
    """``seed`` plus the C-order position of every point of the block in the
    whole array (block_info: dask's description of the block)."""
    info = block_info[None]
    shape, location = info["shape"], info["array-location"]
    strides = [int(np.prod(shape[axis + 1:], dtype=np.int64)) for axis in range(len(shape))]
    index = np.full([stop - start for start, stop in location], np.uint64(seed), dtype=np.uint64)
    for axis, ((start, stop), stride) in enumerate(zip(location, strides)):
        step = np.arange(start, stop, dtype=np.uint64) * np.uint64(stride)
        index += step.reshape([-1 if k == axis else 1 for k in range(len(shape))])
    return index


def _positions(data, seed):
    """A lazy DataArray on the dimensions of the result (those of ``data``,
    in order of appearance, as apply_ufunc orders them) and the chunks of
    ``data``: ``seed`` plus each point's position in C order."""
    import dask.array as da

    sizes, chunks = {}, {}
    for array in data:
        for dim, size in zip(array.dims, array.shape):
            sizes.setdefault(dim, size)
        if array.chunks is not None:
            for dim, dim_chunks in zip(array.dims, array.chunks):
                chunks.setdefault(dim, dim_chunks)
    dims = list(sizes)
    index = da.map_blocks(_seeds_of_block, int(seed), dtype=np.uint64,
                          chunks=tuple(chunks.get(dim, (sizes[dim],)) for dim in dims))
    return xr.DataArray(index, dims=dims)


# -- buffers ---------------------------------------------------------------

def _buffer_kernel(*arrays, names, fixed, keep, options, threads):
    b = brinora.buffers(**_call_inputs(names, arrays, fixed), **options, threads=threads)
    return tuple(b[name] for name in keep) + (b["status"],)


def buffers(ds, salinity="so", temperature="thetao", pressure=None, phosphate=None, silicate=None,
            *, ta=None, tco2=None, ph=None, fco2=None, pco2=None, temperature_out=None,
            pressure_out=None, wind_speed=None, pco2_air=None, latitude=None, longitude=None,
            units=None, results=None, threads=None, **options):
    """Buffer factors at every point of ``ds`` (brinora.buffers): inputs
    and options as for brinora.xarray.compute; ``results``: names of
    brinora.uncertainty.BUFFER_NAMES, with "_out" at output conditions
    (default: all). Returns a Dataset of float64 variables with ``units``
    and ``long_name``, and ``status`` (0 computed, 1 refused, 2 no
    solution)."""
    given = _given(salinity, temperature, pressure, phosphate, silicate, ta, tco2, ph, fco2, pco2,
                   temperature_out, pressure_out, wind_speed, pco2_air)
    items, threads = front._check(given, options, threads)
    keep = table.buffers_asked(results)
    read = front._read(ds, given, latitude, longitude, units)
    outputs = _apply(_buffer_kernel, read, [], [],
                     dict(fixed=read.fixed, keep=keep, options=items,
                          threads=read.threads(threads)),
                     [(np.float64, [])] * len(keep) + [(np.int8, [])])
    out = xr.Dataset(dict(zip(keep + ["status"], outputs)))
    for name in keep:
        out[name].attrs = {**table.buffer_attributes(name), "ancillary_variables": "status"}
    out["status"].attrs = dict(_STATUS_ATTRS)
    _finish(out, read, items, "buffers", ds,
            "Buffer factors of the carbonate system of seawater computed by Brinora")
    return out


# -- results and uncertainties together ------------------------------------

def add_uncertainty(result, uncertainty):
    """The results of brinora.xarray.compute (``result``) with the
    variables of brinora.xarray.uncertainty (``uncertainty``) beside them:
    every ``u_<name>``, its budget and ``uncertainty_status``; the
    ``ancillary_variables`` attribute of each result that has an
    uncertainty names it after ``status`` (CF's link of a quantity to its
    standard_error variable). Both must be on the same coordinates and
    computed with the same options. Lazy inputs stay lazy. Returns a new
    Dataset; ``result`` is not changed."""
    for option in ("constants", "khso4", "ph_scale", "flux"):
        ours, theirs = result.attrs.get(option), uncertainty.attrs.get(option)
        if ours != theirs:
            raise ValueError(f"the results were computed with {option} {ours!r}, the "
                             f"uncertainties with {theirs!r}: compute both with the same options")
    added = [name for name in uncertainty.data_vars if name not in result.variables]
    try:
        out = xr.merge([result, uncertainty[added]], join="exact", combine_attrs="override")
    except ValueError as error:
        raise ValueError("the uncertainties are not on the coordinates of the results "
                         f"(compute both from the same dataset): {error}") from None
    for name in uncertainty.data_vars:
        if name.startswith("u_") and not name.endswith("_budget") and name[2:] in result.data_vars:
            attrs = dict(out[name[2:]].attrs)
            links = attrs.get("ancillary_variables", "").split()
            attrs["ancillary_variables"] = " ".join(links + [name])
            out[name[2:]].attrs = attrs
    history = uncertainty.attrs.get("history", "").split("\n")[0]
    out.attrs = dict(result.attrs)
    if history:
        out.attrs["history"] = f"{history}\n{result.attrs.get('history', '')}".rstrip("\n")
    out.attrs["uncertainty_method"] = uncertainty.attrs.get("uncertainty_method", "")
    return out
