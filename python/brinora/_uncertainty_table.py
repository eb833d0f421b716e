"""Names, units and descriptions of what brinora.sensitivities,
brinora.uncertainty and brinora.buffers give, for the xarray and pandas
fronts: the CF attributes of a result's standard uncertainty (the
quantity's units, "standard uncertainty of ..." and the CF standard-name
modifier "standard_error"), of a partial derivative (the result's units
per the source's), of a budget and of a buffer factor. Results and inputs
take theirs from brinora.QUANTITIES; the constants and the buffer factors
have theirs here.
"""

import re

import numpy as np

from ._quantities import PH_SCALES, QUANTITIES

#: The constants among the sources: pK units (the constant as the
#: calculation uses it, on the chosen pH scale, at the sample's pressure),
#: total boron relative (a change of 1 is 100 %).
CONSTANT_SOURCES = {
    "pk0": "pK0, the solubility of CO2",
    "pk1": "pK1 of carbonic acid",
    "pk2": "pK2 of carbonic acid",
    "pkb": "pKB of boric acid",
    "pkw": "pKW of water",
    "pkspa": "pKsp of aragonite",
    "pkspc": "pKsp of calcite",
    "pks": "pKS of bisulfate",
    "pkf": "pKF of hydrogen fluoride",
    "pkp1": "pK1 of phosphoric acid",
    "pkp2": "pK2 of phosphoric acid",
    "pkp3": "pK3 of phosphoric acid",
    "pksi": "pK of silicic acid",
    "bt": "total boron, relative",
}

#: Buffer factor -> (units, description), at fixed TA and DIC (Egleston et
#: al. 2010, Global Biogeochemical Cycles 24, GB1002, for gamma, beta, omega).
BUFFER_FACTORS = {
    "gamma_dic": ("umol kg-1", "buffer factor gamma_DIC = (d ln CO2 / d DIC)^-1 at fixed TA"),
    "gamma_alk": ("umol kg-1", "buffer factor gamma_Alk = (d ln CO2 / d TA)^-1 at fixed DIC"),
    "beta_dic": ("umol kg-1", "buffer factor beta_DIC = (d ln [H+] / d DIC)^-1 at fixed TA"),
    "beta_alk": ("umol kg-1", "buffer factor beta_Alk = (d ln [H+] / d TA)^-1 at fixed DIC"),
    "omega_dic": ("umol kg-1", "buffer factor omega_DIC = (d ln Omega / d DIC)^-1 at fixed TA"),
    "omega_alk": ("umol kg-1", "buffer factor omega_Alk = (d ln Omega / d TA)^-1 at fixed DIC"),
    "revelle_factor": ("1", "Revelle factor d ln pCO2 / d ln DIC at fixed TA"),
    "isocapnic_quotient": ("1", "isocapnic quotient, the change of DIC per unit change of TA at "
                                "constant pCO2"),
    "dlnpco2_dt": ("degC-1", "d ln pCO2 / dT at fixed TA and DIC"),
}

_CONDITIONS = {"": "input", "_out": "output"}


def _scale(ph_scale_item):
    return PH_SCALES[ph_scale_item][0]


def quantity_attributes(name, ph_scale_item):
    """units, long_name and (where CF has one) standard_name of a result of
    brinora.uncertainty or an input: those of brinora.QUANTITIES, and for
    the hydrogen ion [umol/kg] on the chosen pH scale."""
    base = name[:-len("_out")] if name.endswith("_out") else name
    if base == "hydrogen_ion":
        where = _CONDITIONS[name[len(base):]]
        return {"units": "umol kg-1",
                "long_name": f"hydrogen ion [H+] at {where} conditions on the "
                             f"{_scale(ph_scale_item)} scale"}
    row = QUANTITIES[name]
    attrs = {"units": row.units, "long_name": row.long_name.format(scale=_scale(ph_scale_item))}
    standard = PH_SCALES[ph_scale_item][1] if name == "ph" else row.standard_name
    if standard:
        attrs["standard_name"] = standard
    return attrs


def uncertainty_attributes(name, ph_scale_item):
    """CF attributes of the standard uncertainty of ``name``: its units, the
    long name "standard uncertainty of ..." and, where the quantity has a CF
    standard name, that name with the modifier standard_error."""
    quantity = quantity_attributes(name, ph_scale_item)
    attrs = {"units": quantity["units"],
             "long_name": f"standard uncertainty of {quantity['long_name']}"}
    if "standard_name" in quantity:
        attrs["standard_name"] = f"{quantity['standard_name']} standard_error"
    return attrs


def budget_attributes(name, ph_scale_item):
    """CF attributes of the budget of the standard uncertainty of ``name``."""
    quantity = quantity_attributes(name, ph_scale_item)
    return {"units": quantity["units"],
            "long_name": f"part of the standard uncertainty of {quantity['long_name']} from each "
                         "source alone, |dy/dx| u(x)"}


def source_attributes(name, ph_scale_item):
    """units and long_name of a source: an input, or a constant (pK units;
    total boron relative)."""
    if name in CONSTANT_SOURCES:
        return {"units": "1", "long_name": CONSTANT_SOURCES[name]}
    quantity = quantity_attributes(name, ph_scale_item)
    return {"units": quantity["units"], "long_name": quantity["long_name"]}


def _inverse(units):
    """A UDUNITS product of powers ("umol kg-1") inverted ("umol-1 kg")."""
    factors = []
    for factor in units.split():
        match = re.fullmatch(r"([A-Za-z]+)(-?[0-9]+)?", factor)
        power = -int(match.group(2) or 1)
        factors.append(match.group(1) if power == 1 else f"{match.group(1)}{power}")
    return " ".join(factors)


def per(result_units, source_units):
    """The units of a result per a source, as a UDUNITS string."""
    if source_units == "1":
        return result_units
    inverse = _inverse(source_units)
    return inverse if result_units == "1" else f"{result_units} {inverse}"


def derivative_attributes(result, source, ph_scale_item):
    """units and long_name of the partial derivative of ``result`` with
    respect to ``source``."""
    y = quantity_attributes(result, ph_scale_item)
    x = source_attributes(source, ph_scale_item)
    return {"units": per(y["units"], x["units"]),
            "long_name": f"partial derivative of {y['long_name']} with respect to "
                         f"{x['long_name']}"}


def buffer_attributes(name):
    """units and long_name of a buffer factor (a name of BUFFER_NAMES, with
    "_out" at output conditions)."""
    suffix = "_out" if name.endswith("_out") else ""
    units, text = BUFFER_FACTORS[name[:len(name) - len(suffix)]]
    return {"units": units, "long_name": f"{text}, at {_CONDITIONS[suffix]} conditions"}


def derivative_name(result, source):
    """The name of the variable or column of a partial derivative: "dph_dta"
    for dpH/dTA."""
    return f"d{result}_d{source}"


_FLUX_SOURCES = ("pco2_air", "wind_speed")
_FLUX_QUANTITIES = ("co2_flux", "co2_flux_out")


def _listed(names):
    return list(dict.fromkeys([names] if isinstance(names, str) else names))


def results_asked(results, flux):
    """The results of brinora.uncertainty asked for (default: all, the flux
    only with its inputs), checked."""
    from .uncertainty import RESULTS

    if results is None:
        return [name for name in RESULTS if flux or name not in _FLUX_QUANTITIES]
    names = _listed(results)
    unknown = [name for name in names if name not in RESULTS]
    if unknown:
        raise ValueError(f"unknown result name(s) {', '.join(map(repr, unknown))}: the results are "
                         f"{', '.join(RESULTS)}")
    if not flux and set(names) & set(_FLUX_QUANTITIES):
        flux = ", ".join(n for n in names if n in _FLUX_QUANTITIES)
        raise ValueError("the air-sea flux needs wind_speed and pco2_air: "
                         f"{flux} cannot be computed")
    return names


def sources_asked(sources, every, flux):
    """The sources asked for among ``every`` (those of the pair; default:
    all, the flux inputs only when given), checked."""
    if sources is None:
        return [name for name in every if flux or name not in _FLUX_SOURCES]
    names = _listed(sources)
    unknown = [name for name in names if name not in every]
    if unknown:
        raise ValueError(f"unknown source(s) {', '.join(map(repr, unknown))}: the sources of "
                         f"this pair are {', '.join(every)}")
    return names


def buffers_asked(results):
    """The buffer factors asked for (default: all, at both conditions), checked."""
    from .uncertainty import BUFFER_NAMES

    every = list(BUFFER_NAMES) + [name + "_out" for name in BUFFER_NAMES]
    if results is None:
        return every
    names = _listed(results)
    unknown = [name for name in names if name not in every]
    if unknown:
        raise ValueError(f"unknown buffer factor(s) {', '.join(map(repr, unknown))}: the "
                         f"buffer factors are {', '.join(every)}")
    return names


def budget_sources(names, matrix, by_source):
    """The sources whose budget is given, in the order of ``names``: those
    of a non-zero variance in ``matrix``, or without one, those of
    ``by_source`` (source -> u) other than a number 0."""
    if matrix is not None:
        return [s for i, s in enumerate(names) if matrix[i, i] != 0]
    return [s for s in names if s in by_source and not (
        isinstance(by_source[s], (int, float, np.number)) and by_source[s] == 0)]
