"""Input forms that must work, bad elements and whole-call errors."""

import numpy as np
import pytest

import brinora

BASE = dict(constants=13, khso4=1, ph_scale=1, flux=1)


def _reference(**extra):
    return brinora.compute(35.0, 25.0, ta=2300.0, tco2=2000.0, **BASE, **extra)


def test_known_sample():
    r = brinora.compute(35, 25, 0, 1, 10, ta=2300, tco2=2000, temperature_out=2,
                        pressure_out=4000, pco2_air=400, wind_speed=8, **BASE)
    # `brinora calc --board` prints these slots for the same sample.
    assert r["ph"] == np.float32(8.04343224)
    assert r["fco2"] == np.float32(398.178101)
    assert r["omega_aragonite"] == np.float32(3.3692081)
    assert r["ph_out"] == np.float32(8.25189209)
    assert r["co2_flux"] == np.float32(-0.0850127861)
    assert r["status"] == 0 and r.status.dtype == np.int8
    assert r.options == {"constants": 13, "khso4": 1, "ph_scale": 1, "flux": 1}


def test_every_result_has_units():
    r = _reference()
    for name in brinora.RESULT_NAMES:
        assert name in brinora.QUANTITIES
        assert r[name].dtype == np.float32
    assert r.units("ta") == "umol kg-1"


def test_broadcasting_shapes():
    sal = np.linspace(30, 36, 4).reshape(4, 1)
    temp = np.array([2.0, 10.0, 25.0])
    r = brinora.compute(sal, temp, ta=2300, tco2=2000, **BASE)
    assert r["ph"].shape == (4, 3)
    single = brinora.compute(float(sal[2, 0]), 10.0, ta=2300, tco2=2000, **BASE)
    assert r["ph"][2, 1] == single["ph"]


@pytest.mark.parametrize("convert", [
    lambda a: a.astype(np.int64),
    lambda a: a.astype(np.int16),
    lambda a: a.astype(">f8"),
    lambda a: a.astype(">f4"),
    lambda a: a.astype(np.float32),
    lambda a: np.repeat(a, 2)[::2],
    lambda a: a.astype(np.longdouble),
])
def test_input_kinds_give_the_same_numbers(convert):
    sal = np.array([33.0, 34.0, 35.0, 36.0])
    expected = brinora.compute(sal, 12.0, ta=2300, tco2=2000, **BASE)
    got = brinora.compute(convert(sal), 12, ta=2300, tco2=np.int32(2000), **BASE)
    np.testing.assert_array_equal(got["ph"], expected["ph"])


def test_read_only_input():
    sal = np.array([34.0, 35.0])
    sal.setflags(write=False)
    r = brinora.compute(sal, 10.0, ta=2300, tco2=2000, **BASE)
    assert r["ph"].shape == (2,)
    assert np.all(r["status"] == 0)


def test_zero_size_and_zero_d():
    r = brinora.compute(np.zeros((0, 3)), 10.0, ta=2300, tco2=2000, **BASE)
    assert r["ph"].shape == (0, 3) and r["status"].shape == (0, 3)
    r = brinora.compute(np.array(35.0), np.array(10.0), ta=2300, tco2=2000, **BASE)
    assert r["ph"].shape == () and r["status"].shape == ()


def test_threads_give_the_same_numbers():
    rng = np.random.default_rng(3)
    sal = rng.uniform(30, 37, 20000)
    temp = rng.uniform(0, 30, 20000)
    one = brinora.compute(sal, temp, ta=2300, tco2=2000, threads=1, **BASE)
    many = brinora.compute(sal, temp, ta=2300, tco2=2000, threads=7, **BASE)
    for name in brinora.RESULT_NAMES:
        np.testing.assert_array_equal(one[name], many[name])


def test_bad_elements_do_not_spoil_the_call():
    sal = np.array([35.0, np.nan, -999.0, 35.0, 35.0, 35.0, 1e39])
    temp = np.array([20.0, 20.0, 20.0, -9.0, 20.0, np.inf, 20.0])
    ta = np.array([2300.0, 2300.0, 2300.0, 2300.0, -10.0, 2300.0, 2300.0])
    r = brinora.compute(sal, temp, ta=ta, tco2=2000, **BASE)
    reasons = list(r.reasons())
    assert reasons == [
        "computed",
        "refused: the salinity is not a number",
        "refused: the salinity is missing (-9 and -999 mark a missing value)",
        "refused: the temperature is missing (-9 and -999 mark a missing value)",
        "refused: TA is negative",
        "refused: the temperature is out of range (infinite in single precision)",
        "refused: the salinity is out of range (infinite in single precision)",
    ]
    good = brinora.compute(35.0, 20.0, ta=2300, tco2=2000, **BASE)
    assert r["ph"][0] == good["ph"]
    for name in brinora.RESULT_NAMES:
        assert np.all(np.isnan(r[name][1:])), name


def test_missing_pressure_counts_as_zero():
    a = brinora.compute(35, 10, -999, ta=2300, tco2=2000, **BASE)
    b = brinora.compute(35, 10, 0, ta=2300, tco2=2000, **BASE)
    assert a["status"] == 0 and a["ph"] == b["ph"]


@pytest.mark.parametrize("params", [
    dict(ta=2300), dict(ta=2300, tco2=2000, ph=8.0), dict(),
])
def test_not_exactly_two_parameters(params):
    with pytest.raises(ValueError, match="exactly two of the carbonate parameters"):
        brinora.compute(35, 10, **params, **BASE)


def test_options_by_title_and_number():
    by_number = brinora.compute(35, 10, ta=2300, tco2=2000, constants=4, khso4=2, ph_scale=3,
                                flux=2)
    by_title = brinora.compute(35, 10, ta=2300, tco2=2000, constants="mehrbach et al",
                               khso4="Khoo", ph_scale="free scale", flux="night")
    assert by_title.options == by_number.options == {"constants": 4, "khso4": 2, "ph_scale": 3,
                                                     "flux": 2}
    assert by_title["ph"] == by_number["ph"]
    assert brinora.option_item("constants", "Lueker et al. (2000) total scale") == 13
    assert brinora.option_item("constants", np.int64(14)) == 14


@pytest.mark.parametrize("option, value, error", [
    ("constants", 15, ValueError), ("constants", 0, ValueError), ("khso4", 3, ValueError),
    ("ph_scale", "Kelvin", ValueError), ("constants", "Millero", ValueError),
    ("flux", 1.0, TypeError), ("constants", True, TypeError),
])
def test_bad_options(option, value, error):
    with pytest.raises(error):
        brinora.compute(35, 10, ta=2300, tco2=2000, **{**BASE, option: value})


def test_unknown_constants_message():
    with pytest.raises(ValueError, match=r"unknown constants set '15': there is no item \"15\"; the items are 1\.\.14"):
        brinora.compute(35, 10, ta=2300, tco2=2000, constants=15)


def test_shapes_that_do_not_broadcast():
    with pytest.raises(ValueError, match="do not broadcast"):
        brinora.compute(np.zeros(3), np.zeros(4), ta=2300, tco2=2000, **BASE)


@pytest.mark.parametrize("bad", [np.array(["35"]), np.array([35.0], dtype=object), "35",
                                 np.array([1 + 2j])])
def test_object_string_and_complex_inputs(bad):
    with pytest.raises(TypeError, match="salinity"):
        brinora.compute(bad, 10, ta=2300, tco2=2000, **BASE)
