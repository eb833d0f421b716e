"""Random samples over every option and input pair, as number text (so that
the command line and the module narrow the same decimal number)."""

import itertools

import numpy as np

# The nine input pairs of the calculation driver.
PAIRS = [("ta", "tco2"), ("ta", "ph"), ("ta", "fco2"), ("ta", "pco2"), ("tco2", "ph"),
         ("tco2", "fco2"), ("tco2", "pco2"), ("ph", "fco2"), ("ph", "pco2")]

# Every option combination: 14 constant sets, 2 KHSO4, 4 pH scales, 3 fluxes.
OPTIONS = list(itertools.product(range(1, 15), range(1, 3), range(1, 5), range(1, 4)))

INPUTS = ("salinity", "temperature", "pressure", "phosphate", "silicate", "temperature_out",
          "pressure_out", "ta", "tco2", "ph", "fco2", "pco2", "pco2_air", "wind_speed")

_RANGES = {"salinity": (0, 42), "temperature": (-2, 38), "pressure": (0, 6000),
           "phosphate": (0, 3.5), "silicate": (0, 160), "temperature_out": (-2, 38),
           "pressure_out": (0, 6000), "ta": (1800, 2600), "tco2": (1600, 2400),
           "ph": (7.2, 8.6), "fco2": (150, 1500), "pco2": (150, 1500), "pco2_air": (0, 600),
           "wind_speed": (0, 20)}


def random_samples(rng, count, pair):
    """count samples: name -> float64 array of decimal numbers (a few digits,
    some exactly 0 for the optional inputs), the carbonate inputs outside the
    pair left out."""
    samples = {}
    for name in INPUTS:
        if name in ("ta", "tco2", "ph", "fco2", "pco2") and name not in pair:
            continue
        low, high = _RANGES[name]
        digits = rng.integers(0, 5, count)
        scale = 10.0 ** digits
        values = np.round(rng.uniform(low, high, count) * scale) / scale
        if name in ("pressure", "phosphate", "silicate", "temperature_out", "pressure_out",
                    "pco2_air", "wind_speed"):
            values[rng.random(count) < 0.2] = 0.0
        samples[name] = values
    return samples


def number_text(value):
    """Shortest text that reads back as the same double."""
    return repr(float(value))
