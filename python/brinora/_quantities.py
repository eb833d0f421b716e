"""The one table of Brinora's quantities for Python: for every input and
result of brinora.compute its units, long name, CF standard name, what kind
of physical quantity it is (which decides how the xarray front reads and
converts an input's units), the range a seawater sample can have (checked by
brinora.check) and its column in a batch input file, all read from Brinora's one
quantity table (the compiled module's ``QUANTITY_TABLE``), which the command
line, the output record, the graph and the desktop program read too.

Units are those of Brinora's output record, written as UDUNITS strings (CF
conventions): amounts of substance in micromol per kilogram of seawater, fCO2
and pCO2 in microatmosphere, xCO2 in parts per million (dry air at 1 atm),
pressure in decibar (0 at the sea surface), temperature in degrees Celsius,
salinity on the Practical Salinity Scale (PSS-78, units "1").
"""

from typing import NamedTuple, Optional, Tuple


class Quantity(NamedTuple):
    """One row of the table."""
    units: str
    long_name: str  # "{scale}" stands for the pH scale's name
    standard_name: Optional[str]  # the CF standard name, where CF has one
    kind: Optional[str] = None  # an input's physical kind: see KINDS
    check: Optional[Tuple[float, float]] = None  # seawater range of an input [units]
    batch_header: Optional[str] = None  # an input's column header in a batch file


def _table():
    """The Python view of Brinora's one quantity table (the compiled module's
    QUANTITY_TABLE): a result takes its units and names from its result row,
    an input its kind, range and batch header from its input row."""
    from . import _brinora

    results = {row["result_name"]: row for row in _brinora.QUANTITY_TABLE if row["result_name"]}
    inputs = {row["input_name"]: row for row in _brinora.QUANTITY_TABLE if row["input_name"]}
    table = {}
    for name in list(results) + [n for n in inputs if n not in results]:
        named = results.get(name) or inputs[name]
        given = inputs.get(name)
        table[name] = Quantity(
            named["units"], named["long_name"], named["standard_name"] or None,
            (given["kind"] or None) if given else None,
            given["check"] if given else None,
            (given["batch_header"] or None) if given else None)
    return table


# name: Quantity, in the order of brinora.RESULT_NAMES, then the inputs that are not results.
QUANTITIES = _table()

#: pH scale menu item -> (the scale's name in long names, CF standard name of a
#: pH on that scale or None where CF has none).
PH_SCALES = {
    1: ("total", "sea_water_ph_reported_on_total_scale"),
    2: ("seawater", None),
    3: ("free", None),
    4: ("NBS", None),
}

#: Kinds of input, with the units Brinora computes in (as pint reads them).
KINDS = {
    "salinity": "dimensionless",
    "temperature": "degC",
    "pressure": "dbar",
    "content": "umol/kg",
    "ph": "dimensionless",
    "gas": "uatm",
    "speed": "m/s",
}

#: CF standard names of inputs that are not what Brinora computes with, and
#: the TEOS-10 conversion that makes them so (brinora._cf carries them out).
CONVERTED_STANDARD_NAMES = {
    "sea_water_potential_temperature": "potential temperature",
    "sea_water_conservative_temperature": "Conservative Temperature",
    "sea_water_absolute_salinity": "Absolute Salinity",
    "sea_water_reference_salinity": "Reference Salinity",
}
