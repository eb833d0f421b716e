"""The one table of Brinora's quantities for Python: for every input and
result of brinora.compute its units, long name, CF standard name, what kind
of physical quantity it is (which decides how the xarray front reads and
converts an input's units), the range a seawater sample can have (checked by
brinora.check) and its column in a batch input file.

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


_UMOL = "umol kg-1"
_IN, _OUT = "at input conditions", "at output conditions"

# name: Quantity, in the order of brinora.RESULT_NAMES, then the inputs that are not results.
QUANTITIES = {
    "salinity": Quantity("1", "practical salinity", "sea_water_practical_salinity", "salinity",
                         (0.0, 50.0), "Salinity"),
    "temperature": Quantity("degC", "in-situ temperature at input conditions",
                            "sea_water_temperature", "temperature", (-3.0, 45.0),
                            "Temperature (C)"),
    "pressure": Quantity("dbar", "sea pressure at input conditions (0 at the surface)",
                         "sea_water_pressure_due_to_sea_water", "pressure", None,
                         "Pressure (dbar)"),
    "phosphate": Quantity(_UMOL, "total phosphate", "moles_of_phosphate_per_unit_mass_in_sea_water",
                          "content", None, "Total P (umol/kg)"),
    "silicate": Quantity(_UMOL, "total silicate", "moles_of_silicate_per_unit_mass_in_sea_water",
                         "content", None, "Total Si (umol/kg)"),
    "ta": Quantity(_UMOL, "total alkalinity TA",
                   "sea_water_alkalinity_per_unit_mass_expressed_as_mole_equivalent", "content",
                   (100.0, 5000.0), "TA (umol/kg)"),
    "tco2": Quantity(_UMOL, "total dissolved inorganic carbon TCO2",
                     "moles_of_dissolved_inorganic_carbon_per_unit_mass_in_sea_water", "content",
                     (100.0, 5000.0), "TCO2 (umol/kg)"),
    "ph": Quantity("1", f"pH {_IN} on the {{scale}} scale", None, "ph", None, "pH (total)"),
    "fco2": Quantity("uatm", f"fugacity of CO2 {_IN}", None, "gas", None, "fCO2 (uatm)"),
    "pco2": Quantity("uatm", f"partial pressure of CO2 {_IN}", None, "gas", None, "pCO2 (uatm)"),
    "bicarbonate": Quantity(_UMOL, f"bicarbonate HCO3 {_IN}", None),
    "carbonate": Quantity(_UMOL, f"carbonate CO3 {_IN}", None),
    "dissolved_co2": Quantity(_UMOL, f"dissolved CO2 {_IN}", None),
    "borate_alkalinity": Quantity(_UMOL, f"borate alkalinity {_IN}", None),
    "hydroxide": Quantity(_UMOL, f"hydroxide OH {_IN}", None),
    "phosphate_alkalinity": Quantity(_UMOL, f"phosphate alkalinity {_IN}", None),
    "silicate_alkalinity": Quantity(_UMOL, f"silicate alkalinity {_IN}", None),
    "revelle_factor": Quantity("1", f"Revelle factor {_IN}", None),
    "omega_calcite": Quantity("1", f"saturation state of calcite {_IN}", None),
    "omega_aragonite": Quantity("1", f"saturation state of aragonite {_IN}", None),
    "xco2": Quantity("1e-6", f"xCO2 in ppm (dry air at 1 atm) {_IN}", None),
    "co2_flux": Quantity("mmol m-2 d-1", f"air-sea CO2 flux, sea to air positive, {_IN}", None),
    "sigma_t": Quantity("kg m-3", "sigma-t of the input temperature and salinity",
                        "sea_water_sigma_t"),
    "temperature_out": Quantity("degC", "temperature at output conditions", None, "temperature",
                                None, "Temperature out (C)"),
    "pressure_out": Quantity("dbar", "sea pressure at output conditions", None, "pressure", None,
                             "Pressure out (dbar)"),
    "ph_out": Quantity("1", f"pH {_OUT} on the {{scale}} scale", None),
    "fco2_out": Quantity("uatm", f"fugacity of CO2 {_OUT}", None),
    "pco2_out": Quantity("uatm", f"partial pressure of CO2 {_OUT}", None),
    "bicarbonate_out": Quantity(_UMOL, f"bicarbonate HCO3 {_OUT}", None),
    "carbonate_out": Quantity(_UMOL, f"carbonate CO3 {_OUT}", None),
    "dissolved_co2_out": Quantity(_UMOL, f"dissolved CO2 {_OUT}", None),
    "borate_alkalinity_out": Quantity(_UMOL, f"borate alkalinity {_OUT}", None),
    "hydroxide_out": Quantity(_UMOL, f"hydroxide OH {_OUT}", None),
    "phosphate_alkalinity_out": Quantity(_UMOL, f"phosphate alkalinity {_OUT}", None),
    "silicate_alkalinity_out": Quantity(_UMOL, f"silicate alkalinity {_OUT}", None),
    "revelle_factor_out": Quantity("1", f"Revelle factor {_OUT}", None),
    "omega_calcite_out": Quantity("1", f"saturation state of calcite {_OUT}", None),
    "omega_aragonite_out": Quantity("1", f"saturation state of aragonite {_OUT}", None),
    "xco2_out": Quantity("1e-6", f"xCO2 in ppm (dry air at 1 atm) {_OUT}", None),
    "co2_flux_out": Quantity("mmol m-2 d-1", f"air-sea CO2 flux, sea to air positive, {_OUT}",
                             None),
    "sigma_t_out": Quantity("kg m-3", "sigma-t of the output temperature and salinity", None),
    "pco2_air": Quantity("uatm", "pCO2 of the air, for the air-sea flux", None, "gas", None,
                         "pCO2 air (uatm)"),
    "wind_speed": Quantity("m s-1", "wind speed, for the air-sea flux", "wind_speed", "speed", None,
                           "Wind speed (m/s)"),
}

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
