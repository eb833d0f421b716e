"""compute(..., results=[...]): only the results asked for, with the bits of
the full call, for every constants set, pair and set of output conditions."""

import numpy as np
import pytest

import brinora

PAIRS = [("ta", "tco2"), ("ta", "ph"), ("ta", "fco2"), ("ta", "pco2"), ("tco2", "ph"),
         ("tco2", "fco2"), ("tco2", "pco2"), ("ph", "fco2"), ("ph", "pco2")]
VALUES = {"ta": 2300.0, "tco2": 2000.0, "ph": 8.05, "fco2": 390.0, "pco2": 392.0}


def _samples(n=64, seed=5):
    rng = np.random.default_rng(seed)
    out = rng.integers(0, 3, n)
    temperature = rng.uniform(0, 30, n)
    pressure = np.where(rng.random(n) < 0.5, 0.0, rng.uniform(0, 5000, n))
    return dict(salinity=rng.uniform(30, 38, n), temperature=temperature, pressure=pressure,
                phosphate=rng.uniform(0, 3, n), silicate=rng.uniform(0, 100, n),
                # absent, equal to the input conditions, or others
                temperature_out=np.where(out == 0, 0.0, np.where(out == 1, temperature, 2.0)),
                pressure_out=np.where(out == 0, 0.0, np.where(out == 1, pressure, 4000.0)),
                pco2_air=400.0, wind_speed=rng.uniform(0, 15, n))


def _bits(array):
    return np.asarray(array, np.float32).view(np.uint32)


@pytest.mark.parametrize("constants", range(1, 15))
def test_subsets_have_the_bits_of_the_full_call(constants):
    samples = _samples(seed=constants)
    subsets = [["ph"], ["ph", "fco2", "pco2", "dissolved_co2", "bicarbonate", "carbonate",
                        "omega_calcite", "omega_aragonite"],
               ["revelle_factor_out", "co2_flux"], ["sigma_t_out", "temperature_out"], ["co2_flux_out"],
               ["pco2_air", "wind_speed", "xco2_out", "phosphate_alkalinity"]]
    for first, second in PAIRS:
        given = {first: VALUES[first], second: VALUES[second]}
        options = dict(constants=constants, khso4=1 + constants % 2, ph_scale=1 + constants % 4,
                       flux=1 + constants % 3)
        full = brinora.compute(**samples, **given, **options)
        for subset in subsets:
            part = brinora.compute(**samples, **given, **options, results=subset)
            assert sorted(part) == sorted(subset + ["status"])
            np.testing.assert_array_equal(part["status"], full["status"])
            for name in subset:
                np.testing.assert_array_equal(_bits(part[name]), _bits(full[name]), err_msg=name)


def test_refused_samples_are_nan_in_the_subset():
    r = brinora.compute([35, -9, 35], 25, ta=[2300, 2300, -1], tco2=2000, results=["ph_out"])
    assert list(r["status"]) == [0, 1, 3]
    assert np.isfinite(r["ph_out"][0]) and np.isnan(r["ph_out"][1:]).all()
    assert set(r) == {"ph_out", "status"}


def test_one_name_as_a_string_and_repeats():
    r = brinora.compute(35, 25, ta=2300, tco2=2000, results="carbonate")
    assert set(r) == {"carbonate", "status"}
    r = brinora.compute(35, 25, ta=2300, tco2=2000, results=["ph", "ph"])
    assert set(r) == {"ph", "status"}


def test_unknown_names_are_refused_with_the_valid_ones():
    with pytest.raises(ValueError) as error:
        brinora.compute(35, 25, ta=2300, tco2=2000, results=["ph", "phh", "status"])
    message = str(error.value)
    assert message.startswith("unknown result name(s) 'phh', 'status': the results are salinity, temperature, ")
    assert message.endswith(", pco2_air, wind_speed")


def test_empty_subset_gives_the_status_only():
    r = brinora.compute([35, -9], 25, ta=2300, tco2=2000, results=[])
    assert set(r) == {"status"}
    assert list(r["status"]) == [0, 1]
