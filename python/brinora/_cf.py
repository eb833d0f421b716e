"""Reading the inputs of brinora.xarray.compute by their CF metadata: unit
strings (UDUNITS syntax, read by pint) and standard names, and the TEOS-10
conversions (gsw, the Gibbs SeaWater library) that bring the data to the
units brinora.compute takes. Every conversion is described in words, so that
the caller can report it.

TEOS-10 functions used (IOC, SCOR and IAPSO, 2010, The international
thermodynamic equation of seawater 2010):
  p_from_z        sea pressure [dbar] from height z [m] (negative below the surface) and latitude
  SA_from_SP      Absolute Salinity [g/kg] from Practical Salinity, pressure, longitude, latitude
  SP_from_SA      its inverse; SR_from_SP / SP_from_SR without the location, or where
                  the atlas of the anomaly has no value (south of about 86 S): no anomaly
  CT_from_pt      Conservative Temperature [degC] from potential temperature (0 dbar reference)
  t_from_CT       in-situ temperature [degC] from Conservative Temperature at a pressure
  rho_t_exact     in-situ density [kg m-3] from Absolute Salinity, in-situ temperature, pressure
"""

import functools
import numbers
import re

import numpy as np
import xarray as xr

from ._quantities import CONVERTED_STANDARD_NAMES, KINDS, QUANTITIES

# Practical salinity written with a unit name that is not a unit.
_SALINITY_NAMES = {"", "1", "psu", "pss", "pss-78", "pss78", "practical_salinity_unit"}
_LATITUDE_UNITS = {"degrees_north", "degree_north", "degree_N", "degrees_N", "degreeN", "degreesN"}
_LONGITUDE_UNITS = {"degrees_east", "degree_east", "degree_E", "degrees_E", "degreeE", "degreesE"}
_VERTICAL_NAMES = {"depth", "sea_water_pressure", "sea_water_pressure_due_to_sea_water",
                   "height", "altitude"}


def _udunits(text):
    """A UDUNITS unit string in pint's syntax: the micro sign as u and
    exponents written after the unit ("m-3") as powers ("m**-3")."""
    text = text.replace("\u00b5", "u").replace("\u03bc", "u")
    return re.sub(r"(?<=[A-Za-z])(?<![0-9][eE])(-?[0-9]+)", r"**\1", text)


@functools.lru_cache(maxsize=1)
def _registry():
    import pint

    registry = pint.UnitRegistry(preprocessors=[_udunits])
    registry.define("@alias degC = degrees_C = degree_C = deg_C = degrees_Celsius")
    registry.define("equivalent = mole = eq")  # alkalinity in mole equivalents
    return registry


class UnitsError(ValueError):
    """An input whose units cannot be read or converted."""


def _refuse(what, units, why):
    return UnitsError(f"{what} has units {units!r}, {why}; give units={{...}} to brinora."
                      "xarray.compute to say which units the values are in")


def linear(units, target, what):
    """(scale, offset) of the conversion from the unit string ``units`` to
    the pint unit ``target``: value_target = value * scale + offset."""
    registry = _registry()
    try:
        quantity = registry.Quantity(registry.parse_expression(units))
    except Exception as error:  # pint raises many kinds on a string it cannot read
        raise _refuse(what, units, f"which are not units that can be read ({error})") from None
    try:
        zero = registry.Quantity(0.0 * quantity.magnitude, quantity.units).to(target).magnitude
        one = registry.Quantity(1.0 * quantity.magnitude, quantity.units).to(target).magnitude
    except Exception:
        return None
    return float(one - zero), float(zero)


def dimensionality(units, what):
    registry = _registry()
    try:
        return registry.Quantity(registry.parse_expression(units)).dimensionality
    except Exception as error:
        raise _refuse(what, units, f"which are not units that can be read ({error})") from None


class Input:
    """One input: its values (a DataArray or a number), where it came from
    (for messages), its units string and standard name."""

    def __init__(self, name, value, source, units, standard_name):
        self.name = name
        self.value = value
        self.source = source
        self.units = units
        self.standard_name = standard_name

    @property
    def what(self):
        return f"{self.name} ({self.source})" if self.source != self.name else self.name


def absolute_from_practical(practical, pressure, longitude, latitude):
    """Absolute Salinity [g/kg] (gsw.SA_from_SP); where the TEOS-10 atlas has
    no anomaly (south of about 86 S), the Reference Salinity (gsw.SR_from_SP)."""
    import gsw

    absolute = gsw.SA_from_SP(practical, pressure, longitude, latitude)
    return np.where(np.isnan(absolute), gsw.SR_from_SP(practical), absolute)


def practical_from_absolute(absolute, pressure, longitude, latitude):
    """Practical Salinity (gsw.SP_from_SA); where the TEOS-10 atlas has no
    anomaly, from the Absolute Salinity as Reference Salinity (gsw.SP_from_SR)."""
    import gsw

    practical = gsw.SP_from_SA(absolute, pressure, longitude, latitude)
    return np.where(np.isnan(practical), gsw.SP_from_SR(absolute), practical)


def _teos(function, *args):
    """A TEOS-10 function (of gsw, or of this module) applied element by
    element, lazily on dask."""
    import gsw

    apply = globals()[function] if function in globals() else getattr(gsw, function)
    return xr.apply_ufunc(apply, *args, dask="parallelized", output_dtypes=[np.float64])


def _scaled(value, scale, offset):
    if isinstance(value, xr.DataArray):
        return value.astype(np.float64) * scale + offset
    return float(value) * scale + offset


def find_coordinate(arrays, ds, test):
    """The first coordinate of the input arrays, then of ``ds``, that
    ``test(name, variable)`` accepts, or None."""
    for candidates in [*(a.coords for a in arrays), ds.coords]:
        for name, variable in candidates.items():
            if test(name, variable):
                return variable
    return None


def is_latitude(name, variable):
    return (variable.attrs.get("standard_name") == "latitude"
            or variable.attrs.get("units") in _LATITUDE_UNITS
            or name in ("lat", "latitude", "nav_lat"))


def is_longitude(name, variable):
    return (variable.attrs.get("standard_name") == "longitude"
            or variable.attrs.get("units") in _LONGITUDE_UNITS
            or name in ("lon", "longitude", "nav_lon"))


def is_vertical(name, variable):
    attrs = variable.attrs
    return (attrs.get("positive") in ("down", "up") or attrs.get("standard_name") in _VERTICAL_NAMES
            or attrs.get("axis") == "Z")


class Converter:
    """Brings the inputs to brinora.compute's units, recording each
    conversion in words (``notes``)."""

    def __init__(self, inputs, latitude, longitude):
        self.inputs = inputs
        self.latitude = latitude
        self.longitude = longitude
        self.notes = []
        self._absolute = None

    def _need_latitude(self, why):
        if self.latitude is None:
            raise ValueError(f"{why} needs the latitude: the data have no latitude coordinate "
                             "(standard_name latitude or units degrees_north); give latitude=")
        return self.latitude.value

    def pressure(self, item):
        """Sea pressure [dbar] from a pressure or a depth (length units)."""
        if item.units is None:
            raise _refuse(item.what, None, "none given")
        dims = dimensionality(item.units, item.what)
        if dims == _registry().parse_units("m").dimensionality:
            scale, offset = linear(item.units, "m", item.what)
            z = _scaled(item.value, scale, offset)
            positive = item.value.attrs.get("positive") if isinstance(item.value, xr.DataArray) \
                else None
            height = z if positive == "up" else -z
            lat = self._need_latitude(f"{item.what}, a depth in {item.units!r},")
            self.notes.append(f"{item.name}: from the {'height' if positive == 'up' else 'depth'} "
                              f"{item.source} [{item.units}] with TEOS-10 gsw.p_from_z at the "
                              f"latitude {self.latitude.source} (sea pressure, dbar)")
            return _teos("p_from_z", height, lat)
        return self.simple(item, "pressure")

    def simple(self, item, kind):
        """An input of ``kind`` converted by its units alone (pint)."""
        if item.units is None:
            raise _refuse(item.what, None, f"none given (Brinora takes {KINDS[kind]})")
        factors = linear(item.units, KINDS[kind], item.what)
        if factors is None:
            raise _refuse(item.what, item.units,
                          f"which cannot be converted to {QUANTITIES[item.name].units}")
        scale, offset = factors
        if (scale, offset) == (1.0, 0.0):
            return item.value
        self.notes.append(f"{item.name}: {item.source} converted from {item.units!r} to "
                          f"{QUANTITIES[item.name].units!r} (pint)")
        return _scaled(item.value, scale, offset)

    def salinity(self, item, pressure):
        """Practical Salinity, from Practical, Absolute or Reference Salinity."""
        kind = CONVERTED_STANDARD_NAMES.get(item.standard_name)
        units = "" if item.units is None else item.units.strip()
        if kind is None:
            if units.lower() in _SALINITY_NAMES:
                return item.value
            factors = linear(units, "dimensionless", item.what)
            if factors is None:
                raise _refuse(item.what, units, "which are not those of a salinity")
            scale = factors[0] / 1e-3  # a salinity of 35 is a mass fraction of about 0.035
            if abs(scale - 1.0) < 1e-12:
                return item.value
            self.notes.append(f"salinity: {item.source} in {units!r} multiplied by {scale:g} "
                              "(pint)")
            return _scaled(item.value, scale, 0.0)
        factors = linear(units or "g/kg", "g/kg", item.what) if units.lower() not in \
            _SALINITY_NAMES else (1.0, 0.0)
        if factors is None:
            raise _refuse(item.what, units, f"which are not those of {kind}")
        absolute = _scaled(item.value, *factors)
        if kind == "Absolute Salinity" and self.latitude is not None and self.longitude is not None:
            self._absolute = absolute
            self.notes.append(f"salinity: {item.source}, {kind}, to Practical Salinity with "
                              "TEOS-10 gsw.SP_from_SA at the pressure and location")
            return _teos("practical_from_absolute", absolute, pressure, self.longitude.value,
                         self.latitude.value)
        self._absolute = absolute
        self.notes.append(f"salinity: {item.source}, {kind}, to Practical Salinity with TEOS-10 "
                          "gsw.SP_from_SR (no location: the Absolute Salinity anomaly is 0)")
        return _teos("SP_from_SR", absolute)

    def absolute_salinity(self, practical, pressure):
        """Absolute Salinity [g/kg] for the TEOS-10 conversions."""
        if self._absolute is None:
            if self.latitude is not None and self.longitude is not None:
                self._absolute = _teos("absolute_from_practical", practical, pressure,
                                       self.longitude.value, self.latitude.value)
            else:
                self._absolute = _teos("SR_from_SP", practical)
        return self._absolute

    def temperature(self, item, practical, pressure):
        """In-situ temperature [degC] from in-situ, potential or Conservative Temperature."""
        value = self.simple(item, "temperature")
        kind = CONVERTED_STANDARD_NAMES.get(item.standard_name)
        if kind not in ("potential temperature", "Conservative Temperature"):
            return value
        absolute = self.absolute_salinity(practical, pressure)
        if kind == "potential temperature":
            value = _teos("CT_from_pt", absolute, value)
        self.notes.append(f"temperature: {item.source}, {kind}, to in-situ temperature with "
                          f"TEOS-10 {'gsw.CT_from_pt, ' if kind == 'potential temperature' else ''}"
                          "gsw.t_from_CT at the pressure")
        return _teos("t_from_CT", absolute, value, pressure)

    def content(self, item, practical, temperature, pressure):
        """An amount per kilogram [umol/kg], from per mass or per volume
        (divided by the in-situ density)."""
        if item.units is None:
            raise _refuse(item.what, None, "none given (Brinora takes umol/kg)")
        per_mass = linear(item.units, "umol/kg", item.what)
        if per_mass is not None:
            return self.simple(item, "content")
        per_volume = linear(item.units, "mol/m**3", item.what)
        if per_volume is None:
            raise _refuse(item.what, item.units, "which are neither an amount per mass nor per "
                          "volume")
        absolute = self.absolute_salinity(practical, pressure)
        density = _teos("rho_t_exact", absolute, temperature, pressure)
        self.notes.append(f"{item.name}: {item.source} in {item.units!r} divided by the in-situ "
                          "density (TEOS-10 gsw.rho_t_exact) to umol kg-1")
        return _scaled(item.value, per_volume[0] * 1e6, 0.0) / density


def convert(inputs, vertical, latitude, longitude):
    """Every input in brinora.compute's units: name -> DataArray or number,
    and the notes of the conversions made. ``inputs``: name -> Input;
    ``vertical``: an Input for the pressure when none is given, or None."""
    converter = Converter(inputs, latitude, longitude)
    out = {}
    if "pressure" in inputs:
        out["pressure"] = converter.pressure(inputs["pressure"])
    elif vertical is not None:
        out["pressure"] = converter.pressure(vertical)
    pressure = out.get("pressure", 0.0)
    out["salinity"] = converter.salinity(inputs["salinity"], pressure)
    out["temperature"] = converter.temperature(inputs["temperature"], out["salinity"], pressure)
    for name, item in inputs.items():
        if name in out:
            continue
        kind = QUANTITIES[name].kind
        if kind == "content":
            out[name] = converter.content(item, out["salinity"], out["temperature"], pressure)
        elif kind == "ph":
            if item.units is not None and item.units.strip() not in ("", "1"):
                factors = linear(item.units, "dimensionless", item.what)
                if factors != (1.0, 0.0):
                    raise _refuse(item.what, item.units, "which are not those of a pH")
            out[name] = item.value
        elif kind == "pressure":
            out[name] = converter.pressure(item)
        else:
            out[name] = converter.simple(item, kind)
    return out, converter.notes


def is_number(value):
    return isinstance(value, (numbers.Real, np.number)) and not isinstance(value, bool)
