"""Brinora on pandas DataFrames: columns mapped by name, or the layout of a
batch input file.

    >>> import pandas as pd, brinora.pandas as bp
    >>> df = pd.DataFrame({"sal": [34.0, 35.0], "temp": [10.0, 25.0],
    ...                    "alk": [2300.0, 2300.0], "dic": [2000.0, pd.NA]}).astype("Float64")
    >>> out = bp.compute(df, salinity="sal", temperature="temp", ta="alk", tco2="dic",
    ...                  results=["ph", "omega_aragonite"], constants=13)
    >>> out.round(3)
          ph  omega_aragonite  status
    0  8.291            3.168       0
    1    NaN              NaN      44
    >>> bp.reason(out.status)[1]
    'refused: TCO2 is masked (a missing value)'

``compute(df, salinity="sal", temperature="temp", ta="alk", tco2="dic", ...)``
takes each input from the column of that name (brinora.compute's units and
rules: exactly two carbonate parameters, wind_speed and pco2_air both or
neither) and returns one row per row of ``df`` (same index) with a column per
result and ``status``. Missing values of pandas' nullable dtypes (Float64,
Int64, ...) are masked values with a status of their own.

``compute(df)`` with no column named takes a DataFrame in the layout of a
batch input file, its 21 columns found by their header names
(``BATCH_COLUMNS``, in any order): sample id, name, time, date, latitude,
longitude, salinity, temperature, pressure, total P, total Si, output
temperature, output pressure, TA, TCO2, pH, fCO2, pCO2, pCO2 of the air,
wind speed in m/s, comment. It returns one row per sample with the output
record's 53 columns (names without the file's leading spaces) and the
numbers that ``brinora batch`` writes, plus a ``Status`` column: "" for a
computed sample, or the message for the sample in the program's words.
Unlike the batch run, a bad line does not stop the others: its numbers are
NaN. A line whose sample id is empty has no record, as in the batch run.

Reading CSV text: ``read_batch_csv`` reads the number columns with
``float_precision="round_trip"``, pandas' correctly rounded parser, so that
each number is the double that strtod gives, as in the batch reader (pandas'
default fast parser is not always correctly rounded and would change some
float32 values). Empty number fields are 0, as in the batch reader.

``compute_dask(path)`` runs the same on CSV files larger than memory with
dask.dataframe, one partition at a time.

``sensitivities``, ``uncertainty`` and ``buffers`` give brinora's functions
of those names for the rows: columns ``dph_dta``, ``u_ph`` (and with
``budget=True`` ``u_ph_budget_<source>``), ``revelle_factor``, ..., and
``status``, with the units of the columns in ``attrs["units"]``.
"""

import numpy as np
import pandas as pd

import brinora
from . import _uncertainty_table as _table
from ._quantities import QUANTITIES
from .uncertainty import check_propagation

_TEXT_COLUMNS = ["SampleID", "Name", "Time", "Date", "Latitude", "Longitude"]
#: The batch input file's column names (the header of examples/cruise.csv).
BATCH_COLUMNS = _TEXT_COLUMNS + [QUANTITIES[n].batch_header for n in brinora.INPUT_NAMES] + [
    "Comment"]

#: The output record's 53 column names, as in the output file's header line
#: (without the spaces that start some of them there).
RECORD_COLUMNS = [name.strip() for name in (
    "SampleID,Name,Time,Date,Latitude (decimal degrees),Longitude (decimal degrees),"
    "Salinity (ppt),Temperature(C),Pressure (dbars),Total P (micromol/kgSW),"
    "Total Si (micromol/kgSW),TA (micromol/kgSW),TCO2 (micromol/kgSW),pH,fCO2 (microatm),"
    "pCO2 (microatm),HCO3 in (micromol/kgSW),CO3 in (micromol/kgSW),CO2 in (micromol/kgSW),"
    "B Alk in (micromol/kgSW),OH in (micromol/kgSW),P Alk in (micromol/kgSW),"
    "Si Alk in (micromol/kgSW),Revelle in,O Ca,O Ar in,xCO2 in (dry at 1 atm) (ppm),t(C) out,"
    "P (dbars) out,pH out,fCO2 out (microatm),pCO2 out (microatm),HCO3 out (micromol/kgSW),"
    "CO3 out (micromol/kgSW),CO2 out (micromol/kgSW),B Alk out (micromol/kgSW),"
    "OH out (micromol/kgSW),P Alk out (micromol/kgSW),Si Alk out (micromol/kgSW),Revelle out,"
    "O Ca out,O Ar out,xCO2 out (dry at 1 atm) (ppm),pCO2_air,Windspeed,CO2Flux in,"
    "CO2Flux out,CO2Constants, KHSO4, pH Scale, Air-Sea Flux, Windspeed Units, Comment"
).split(",")]

_TEXT = [0, 1, 2, 3, 4, 5, 20]
_NUMBERS = list(range(6, 20))
_INPUTS = brinora.INPUT_NAMES
# Record columns 12..27 and 30..43 from the results.
_RESULTS_IN = ["ta", "tco2", "ph", "fco2", "pco2", "bicarbonate", "carbonate", "dissolved_co2",
               "borate_alkalinity", "hydroxide", "phosphate_alkalinity", "silicate_alkalinity",
               "revelle_factor", "omega_calcite", "omega_aragonite", "xco2"]
_RESULTS_OUT = ["ph_out", "fco2_out", "pco2_out", "bicarbonate_out", "carbonate_out",
                "dissolved_co2_out", "borate_alkalinity_out", "hydroxide_out",
                "phosphate_alkalinity_out", "silicate_alkalinity_out", "revelle_factor_out",
                "omega_calcite_out", "omega_aragonite_out", "xco2_out"]
# The batch reader's messages.
SALINITY_MISSING = "All records require a salinity value. There is a salinity value missing."
TEMPERATURE_MISSING = ("All records require a temperature value. There is a temperature value "
                       "missing.")
PAIR_MISSING = "To batch process records, Brinora needs values for at least two carbonate parameters"
# The carbonate field pairs (TA 13 .. pCO2 17) of which one must be empty.
_EMPTY_PAIRS = [(13, 14), (13, 15), (13, 16), (13, 17), (14, 15), (14, 16), (14, 17), (15, 16),
                (15, 17)]


def read_batch_csv(path, **kwargs):
    """A batch input file as a DataFrame: text columns as read (empty text
    stays ""), number columns as correctly rounded float64 (empty: NaN),
    each found by its header name."""
    text = {BATCH_COLUMNS[i]: str for i in _TEXT}
    return pd.read_csv(path, header=0, dtype=text, keep_default_na=False,
                       na_values={BATCH_COLUMNS[i]: [""] for i in _NUMBERS},
                       float_precision="round_trip", **kwargs)


def _text(column):
    return column.fillna("").astype(str)


def reason(status):
    """The messages of status codes (an array of str)."""
    return np.asarray(brinora.STATUS_MESSAGES, dtype=object)[np.asarray(status)]


def _batch_layout(df):
    """The 21 batch columns of ``df`` in the file's order, found by their
    header names (surrounding spaces ignored)."""
    by_name = {str(column).strip(): column for column in df.columns}
    missing = [name for name in BATCH_COLUMNS if name not in by_name]
    if missing:
        raise ValueError("a DataFrame in the batch layout has the columns "
                         f"{', '.join(BATCH_COLUMNS)}; missing: {', '.join(missing)} (or name "
                         "the input columns: compute(df, salinity=..., temperature=..., ...))")
    return df[[by_name[name] for name in BATCH_COLUMNS]]


def _by_name(df, columns, items, results, validate, threads):
    """Results of the rows of ``df`` with inputs from the named columns."""
    inputs = _columns_of(df, columns)
    for name in ("salinity", "temperature"):
        if name not in inputs:
            raise ValueError(f"{name}: a column is needed")
    result = brinora.compute(**inputs, **items, results=results, validate=validate,
                             threads=threads)
    return result.to_dataframe(index=df.index)


def compute(df, salinity=None, temperature=None, pressure=None, phosphate=None, silicate=None,
            *, ta=None, tco2=None, ph=None, fco2=None, pco2=None, temperature_out=None,
            pressure_out=None, wind_speed=None, pco2_air=None, constants=None, khso4=None,
            ph_scale=None, flux=None, results=None, validate=True, threads=None):
    """Results of the rows of ``df`` with inputs from the columns named, or
    numbers for every row (a DataFrame of the results and ``status``), or, with no column named, the
    output records of a DataFrame in the batch layout (see the module's
    text). ``results`` and ``validate`` as for brinora.compute (the batch
    layout computes every result, as the program does)."""
    columns = {name: value for name, value in {
        "salinity": salinity, "temperature": temperature, "pressure": pressure,
        "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
        "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
        "pco2": pco2, "wind_speed": wind_speed, "pco2_air": pco2_air}.items() if value is not None}
    items = brinora.option_items(constants, khso4, ph_scale, flux)
    if columns:
        return _by_name(df, columns, items, results, validate, threads)
    df = _batch_layout(df)
    ids = _text(df.iloc[:, 0])
    df = df[ids != ""]
    numbers = {}
    empty = {}
    for field, name in zip(_NUMBERS, _INPUTS):
        column = pd.to_numeric(df.iloc[:, field], errors="coerce").to_numpy(np.float64,
                                                                            na_value=np.nan)
        empty[field] = np.isnan(column)
        numbers[name] = np.where(empty[field], 0.0, column)
    carbonate = {name: numbers.pop(name) for name in brinora.PARAMETERS}

    # The batch reader's checks, in its order.
    message = np.full(len(df), "", dtype=object)
    pair_ok = np.zeros(len(df), bool)
    for a, b in _EMPTY_PAIRS:
        pair_ok |= empty[a] & empty[b]
    message[~pair_ok] = PAIR_MISSING
    message[empty[7]] = TEMPERATURE_MISSING
    message[empty[6]] = SALINITY_MISSING
    checked = message == ""

    # Every sample goes through the driver with all five parameters: it
    # chooses the first two non-zero ones, as for a batch line. The call
    # needs exactly two, so TA and TCO2 carry the pair's values and the
    # driver's choice is reproduced by ordering: see below.
    result = _compute_rows(numbers, carbonate, items, threads)

    f32 = {name: value.astype(np.float32) for name, value in numbers.items()}
    refused = (result["status"] != 0) & (result["status"] < 8)  # the driver's own refusals
    out = {}
    for i, name in enumerate(["SampleID", "Name", "Time", "Date", "Latitude", "Longitude"]):
        out[RECORD_COLUMNS[i]] = _text(df.iloc[:, i]).to_numpy()
    columns = [f32["salinity"], f32["temperature"], f32["pressure"], f32["phosphate"],
               f32["silicate"]]
    board = {}
    for name in _RESULTS_IN + _RESULTS_OUT + ["co2_flux", "co2_flux_out"]:
        # A sample the driver refuses leaves the reset board's zeros.
        board[name] = np.where(refused, np.float32(0), result[name])
    columns += [board[name] for name in _RESULTS_IN]
    t_in = f32["temperature"]
    p_in = f32["pressure"]
    t_out = np.where(f32["temperature_out"] != 0, f32["temperature_out"], t_in)
    p_out = np.where(f32["pressure_out"] != 0, f32["pressure_out"], p_in)
    columns += [t_out, p_out] + [board[name] for name in _RESULTS_OUT]
    columns += [f32["pco2_air"], f32["wind_speed"]]
    flux_written = p_in == 0
    columns += [np.where(flux_written, board["co2_flux"], np.float32(np.nan)),
                np.where(flux_written, board["co2_flux_out"], np.float32(np.nan))]
    for name, values in zip(RECORD_COLUMNS[6:47], columns):
        values = np.asarray(values, np.float32).copy()
        values[~checked] = np.nan
        out[name] = values
    for name, option in zip(RECORD_COLUMNS[47:51], ["constants", "khso4", "ph_scale", "flux"]):
        out[name] = brinora.option_title(option, items[option]).replace(",", "")
    out[RECORD_COLUMNS[51]] = "m/s"
    out[RECORD_COLUMNS[52]] = _text(df.iloc[:, 20]).str.replace("\r", "", regex=False).to_numpy()
    status = np.where(checked, np.asarray(brinora.STATUS_MESSAGES, dtype=object)[result["status"]],
                      message)
    out["Status"] = np.where(status == "computed", "", status)
    return pd.DataFrame(out, index=df.index)


def _compute_rows(numbers, carbonate, items, threads):
    """Results of every row, each with its own pair: rows are grouped by
    the driver's pair (the first two non-zero parameters, in the order TA,
    TCO2, pH, fCO2, pCO2) and each group is one call with that pair."""
    names = brinora.PARAMETERS
    nonzero = np.stack([carbonate[n] != 0 for n in names])  # NaN was read as 0 already
    rank = np.cumsum(nonzero, axis=0)
    first = np.argmax(nonzero & (rank == 1), axis=0)
    second = np.argmax(nonzero & (rank == 2), axis=0)
    count = rank[-1]
    size = len(first)
    results = {name: np.full(size, np.nan, np.float32) for name in brinora.RESULT_NAMES}
    results["status"] = np.zeros(size, np.int8)
    # Rows with fewer than two non-zero parameters: the driver still runs with
    # its pair code below 12; give it two parameters with the zeros it reads.
    first = np.where(count >= 1, first, 0)
    second = np.where(count >= 2, second, np.where(first == 0, 1, 0))
    for a, b in set(zip(first.tolist(), second.tolist())):
        rows = np.flatnonzero((first == a) & (second == b))
        pair = {names[a]: carbonate[names[a]][rows], names[b]: carbonate[names[b]][rows]}
        part = brinora.compute(**{k: v[rows] for k, v in numbers.items()}, **pair, **items,
                               validate=False, threads=threads)
        for name, values in part.items():
            results[name][rows] = values
    return results


def compute_dask(paths, blocksize="64MB", **options):
    """A dask DataFrame of the records of one or more batch CSV files (a
    path, a glob or a list), computed one partition at a time. The header
    line of each file is skipped."""
    import dask.dataframe as dd

    text = {name: str for i, name in enumerate(BATCH_COLUMNS) if i in _TEXT}
    frame = dd.read_csv(paths, header=0, dtype={
        **text, **{name: "float64" for i, name in enumerate(BATCH_COLUMNS) if i in _NUMBERS}},
        keep_default_na=False, na_values={BATCH_COLUMNS[i]: [""] for i in _NUMBERS},
        float_precision="round_trip", blocksize=blocksize)
    meta = compute(pd.DataFrame({name: pd.Series(dtype=str if i in _TEXT else "float64")
                                 for i, name in enumerate(BATCH_COLUMNS)}), **options)
    return frame.map_partitions(compute, **options, meta=meta)


# -- sensitivities, uncertainties and buffer factors of the rows -----------

def _columns_of(df, columns):
    """Each value of ``columns`` given (name -> a column name or a number
    for every row) as the column of ``df`` or the number."""
    out = {}
    for name, column in columns.items():
        if column is None:
            continue
        if not isinstance(column, str):  # a number for every row
            out[name] = column
            continue
        if column not in df.columns:
            raise ValueError(f"{name}: the DataFrame has no column {column!r}; its columns: "
                             f"{', '.join(map(str, df.columns))}")
        out[name] = df[column]
    return out


def _inputs(df, given):
    """The inputs of the columns named in ``given`` (input name -> a column
    name, a number or None); with none named, the columns of ``df`` named as
    the inputs of brinora.QUANTITIES (salinity, temperature, ..., ta, tco2)."""
    if all(value is None for value in given.values()):
        given = {name: name for name in _INPUTS if name in df.columns}
    inputs = _columns_of(df, given)
    for name in ("salinity", "temperature"):
        if name not in inputs:
            raise ValueError(f"{name}: a column is needed")
    return inputs


def _frame(columns, index, units):
    out = pd.DataFrame(columns, index=index)
    out.attrs["units"] = units
    return out


def sensitivities(df, salinity=None, temperature=None, pressure=None, phosphate=None,
                  silicate=None, *, ta=None, tco2=None, ph=None, fco2=None, pco2=None,
                  temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
                  constants=None, khso4=None, ph_scale=None, flux=None, results=None,
                  sources=None, threads=None):
    """Exact partial derivatives of the results of the rows of ``df``
    (brinora.sensitivities): each input the column named, or a number for
    every row; with none named, the columns named as the inputs (salinity,
    temperature, ..., ta, tco2, ...). ``results`` and ``sources`` as for
    brinora.xarray.sensitivities. Returns a DataFrame on ``df``'s index with
    a column ``d<result>_d<source>`` per pair (``dph_dta``: dpH/dTA) and
    ``status`` (0 computed, 1 refused, 2 no solution); ``attrs["units"]``
    holds each column's units."""
    inputs = _inputs(df, {
        "salinity": salinity, "temperature": temperature, "pressure": pressure,
        "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
        "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
        "pco2": pco2, "wind_speed": wind_speed, "pco2_air": pco2_air})
    items = brinora.option_items(constants, khso4, ph_scale, flux)
    flux_given = "wind_speed" in inputs
    keep = _table.results_asked(results, flux_given)
    d = brinora.sensitivities(**inputs, **items, threads=threads)
    chosen = _table.sources_asked(sources, list(d[keep[0]]), flux_given)
    columns, units = {}, {}
    for result in keep:
        for source in chosen:
            name = _table.derivative_name(result, source)
            columns[name] = np.atleast_1d(d[result][source])
            units[name] = _table.derivative_attributes(result, source, items["ph_scale"])["units"]
    columns["status"] = np.atleast_1d(d["status"])
    return _frame(columns, df.index, units)


def uncertainty(df, salinity=None, temperature=None, pressure=None, phosphate=None,
                silicate=None, *, ta=None, tco2=None, ph=None, fco2=None, pco2=None,
                temperature_out=None, pressure_out=None, wind_speed=None, pco2_air=None,
                constants=None, khso4=None, ph_scale=None, flux=None, u_ta=None, u_tco2=None,
                u_ph=None, u_fco2=None, u_pco2=None, u_salinity=None, u_temperature=None,
                u_pressure=None, u_phosphate=None, u_silicate=None, u_temperature_out=None,
                u_pressure_out=None, u_pco2_air=None, u_wind_speed=None, u_constants="standard",
                correlation=0.0, covariance=None, method="linear", draws=10000, seed=0,
                budget=False, results=None, threads=None):
    """Combined standard uncertainty of the results of the rows of ``df``
    (brinora.uncertainty): each input, each ``u_<source>`` and
    ``correlation`` the column named or a number for every row (in
    brinora.compute's units); with no input named, the columns named as the
    inputs and ``u_<input>`` for their uncertainties. Other arguments as for
    brinora.uncertainty; ``results`` as for brinora.xarray.uncertainty.

    Returns a DataFrame on ``df``'s index: a column ``u_<result>`` per
    result (``u_ph``), with ``budget=True`` a column ``u_<result>_budget_<source>``
    per result and source of a non-zero uncertainty (|dy/dx| u(x)), and
    ``status`` (0 computed, 1 refused, 2 no solution); ``attrs["units"]``
    holds each column's units (those of the result)."""
    given = {"salinity": salinity, "temperature": temperature, "pressure": pressure,
             "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
             "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
             "pco2": pco2, "wind_speed": wind_speed, "pco2_air": pco2_air}
    given_u = {"ta": u_ta, "tco2": u_tco2, "ph": u_ph, "fco2": u_fco2, "pco2": u_pco2,
               "salinity": u_salinity, "temperature": u_temperature, "pressure": u_pressure,
               "phosphate": u_phosphate, "silicate": u_silicate,
               "temperature_out": u_temperature_out, "pressure_out": u_pressure_out,
               "pco2_air": u_pco2_air, "wind_speed": u_wind_speed}
    if all(value is None for value in given.values()) and all(
            value is None for value in given_u.values()):
        given_u = {name: f"u_{name}" for name in _INPUTS if f"u_{name}" in df.columns}
    inputs = _inputs(df, given)
    uncertainties = _columns_of(df, {f"u_{name}": value for name, value in given_u.items()})
    if isinstance(correlation, str):
        correlation = _columns_of(df, {"correlation": correlation})["correlation"]
    if budget and method != "linear":
        raise ValueError("a Monte Carlo result has no budget: budget=True needs method='linear'")
    items = brinora.option_items(constants, khso4, ph_scale, flux)
    keep = _table.results_asked(results, "wind_speed" in inputs)
    u = brinora.uncertainty(**inputs, **uncertainties, **items, u_constants=u_constants,
                            correlation=correlation, covariance=covariance, method=method,
                            draws=draws, seed=seed, budget=budget, threads=threads)
    columns, units = {}, {}
    scale = items["ph_scale"]
    for name in keep:
        columns[f"u_{name}"] = np.atleast_1d(u[name])
        units[f"u_{name}"] = _table.uncertainty_attributes(name, scale)["units"]
    if budget:
        pair = [name for name in brinora.PARAMETERS if name in inputs]
        names, matrix, by_source, _ = check_propagation(
            pair, {name[2:]: value for name, value in uncertainties.items()}, u_constants, None,
            covariance, method, draws)
        sources = _table.budget_sources(names, matrix, by_source)
        for name in keep:
            for source in sources:
                column = f"u_{name}_budget_{source}"
                columns[column] = np.atleast_1d(u.budget[name][source])
                units[column] = units[f"u_{name}"]
    columns["status"] = np.atleast_1d(u.status)
    return _frame(columns, df.index, units)


def buffers(df, salinity=None, temperature=None, pressure=None, phosphate=None, silicate=None,
            *, ta=None, tco2=None, ph=None, fco2=None, pco2=None, temperature_out=None,
            pressure_out=None, wind_speed=None, pco2_air=None, constants=None, khso4=None,
            ph_scale=None, flux=None, threads=None):
    """Buffer factors of the rows of ``df`` (brinora.buffers), inputs as for
    :func:`sensitivities`: a DataFrame on ``df``'s index with a column per
    name of brinora.uncertainty.BUFFER_NAMES, the same with "_out", and
    ``status``; ``attrs["units"]`` holds each column's units."""
    inputs = _inputs(df, {
        "salinity": salinity, "temperature": temperature, "pressure": pressure,
        "phosphate": phosphate, "silicate": silicate, "temperature_out": temperature_out,
        "pressure_out": pressure_out, "ta": ta, "tco2": tco2, "ph": ph, "fco2": fco2,
        "pco2": pco2, "wind_speed": wind_speed, "pco2_air": pco2_air})
    b = brinora.buffers(**inputs, constants=constants, khso4=khso4, ph_scale=ph_scale, flux=flux,
                        threads=threads)
    columns = {name: np.atleast_1d(values) for name, values in b.items()}
    units = {name: _table.buffer_attributes(name)["units"] for name in b if name != "status"}
    return _frame(columns, df.index, units)
