"""Names, units and descriptions of the inputs and results of brinora.compute.

They come from Brinora's one quantity table (the compiled module's
``QUANTITY_TABLE``), which the command line, the output record, the graph and
the desktop program read too. Units are those of the output record: amounts
of substance in micromol per kilogram of seawater, fCO2 and pCO2 in
microatmosphere, xCO2 in ppm (dry air at 1 atm), pressure in decibar,
temperature in degrees Celsius.
"""

from . import _brinora

#: result name: (units, long name, CF standard name or None)
QUANTITIES = {
    row["result_name"]: (row["units"], row["long_name"], row["standard_name"] or None)
    for row in _brinora.QUANTITY_TABLE
    if row["result_name"]
}

#: input name: (units, long name, CF standard name or None)
INPUT_QUANTITIES = {
    row["input_name"]: (row["units"], row["long_name"], row["standard_name"] or None)
    for row in _brinora.QUANTITY_TABLE
    if row["input_name"]
}

# The pH on the total scale has a CF name of its own.
PH_TOTAL_STANDARD_NAME = "sea_water_ph_reported_on_total_scale"
