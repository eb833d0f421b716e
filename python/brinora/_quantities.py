"""Names, units and descriptions of the inputs and results of brinora.compute.

Units are those of Brinora's output record: amounts of substance in
micromol per kilogram of seawater, fCO2 and pCO2 in microatmosphere, xCO2 in
ppm (dry air at 1 atm), pressure in decibar, temperature in degrees Celsius.
"""

# name: (units, long name, CF standard name or None)
QUANTITIES = {
    "salinity": ("1e-3", "salinity as entered (ppt)", "sea_water_salinity"),
    "temperature": ("degC", "temperature at input conditions", "sea_water_temperature"),
    "pressure": ("dbar", "pressure at input conditions", "sea_water_pressure"),
    "phosphate": ("umol kg-1", "total phosphate as used", "moles_of_phosphate_per_unit_mass_in_sea_water"),
    "silicate": ("umol kg-1", "total silicate as used", "moles_of_silicate_per_unit_mass_in_sea_water"),
    "ta": ("umol kg-1", "total alkalinity TA",
           "sea_water_alkalinity_per_unit_mass_expressed_as_mole_equivalent"),
    "tco2": ("umol kg-1", "total dissolved inorganic carbon TCO2",
             "moles_of_dissolved_inorganic_carbon_per_unit_mass_in_sea_water"),
    "ph": ("1", "pH at input conditions on the chosen pH scale", None),
    "fco2": ("uatm", "fugacity of CO2 at input conditions", None),
    "pco2": ("uatm", "partial pressure of CO2 at input conditions", None),
    "bicarbonate": ("umol kg-1", "bicarbonate HCO3 at input conditions", None),
    "carbonate": ("umol kg-1", "carbonate CO3 at input conditions", None),
    "dissolved_co2": ("umol kg-1", "dissolved CO2 at input conditions", None),
    "borate_alkalinity": ("umol kg-1", "borate alkalinity at input conditions", None),
    "hydroxide": ("umol kg-1", "hydroxide OH at input conditions", None),
    "phosphate_alkalinity": ("umol kg-1", "phosphate alkalinity at input conditions", None),
    "silicate_alkalinity": ("umol kg-1", "silicate alkalinity at input conditions", None),
    "revelle_factor": ("1", "Revelle factor at input conditions", None),
    "omega_calcite": ("1", "saturation state of calcite at input conditions", None),
    "omega_aragonite": ("1", "saturation state of aragonite at input conditions", None),
    "xco2": ("ppm", "xCO2 (dry air at 1 atm) at input conditions", None),
    "co2_flux": ("mmol m-2 d-1", "air-sea CO2 flux at input conditions", None),
    "sigma_t": ("kg m-3", "sigma-t of the input temperature and salinity", None),
    "temperature_out": ("degC", "temperature at output conditions", None),
    "pressure_out": ("dbar", "pressure at output conditions", None),
    "ph_out": ("1", "pH at output conditions on the chosen pH scale", None),
    "fco2_out": ("uatm", "fugacity of CO2 at output conditions", None),
    "pco2_out": ("uatm", "partial pressure of CO2 at output conditions", None),
    "bicarbonate_out": ("umol kg-1", "bicarbonate HCO3 at output conditions", None),
    "carbonate_out": ("umol kg-1", "carbonate CO3 at output conditions", None),
    "dissolved_co2_out": ("umol kg-1", "dissolved CO2 at output conditions", None),
    "borate_alkalinity_out": ("umol kg-1", "borate alkalinity at output conditions", None),
    "hydroxide_out": ("umol kg-1", "hydroxide OH at output conditions", None),
    "phosphate_alkalinity_out": ("umol kg-1", "phosphate alkalinity at output conditions", None),
    "silicate_alkalinity_out": ("umol kg-1", "silicate alkalinity at output conditions", None),
    "revelle_factor_out": ("1", "Revelle factor at output conditions", None),
    "omega_calcite_out": ("1", "saturation state of calcite at output conditions", None),
    "omega_aragonite_out": ("1", "saturation state of aragonite at output conditions", None),
    "xco2_out": ("ppm", "xCO2 (dry air at 1 atm) at output conditions", None),
    "co2_flux_out": ("mmol m-2 d-1", "air-sea CO2 flux at output conditions", None),
    "sigma_t_out": ("kg m-3", "sigma-t of the output temperature and salinity", None),
    "pco2_air": ("uatm", "pCO2 of the air, for the air-sea flux", None),
    "wind_speed": ("m s-1", "wind speed, for the air-sea flux", "wind_speed"),
}

# The pH on the total scale has a CF name of its own.
PH_TOTAL_STANDARD_NAME = "sea_water_ph_reported_on_total_scale"
