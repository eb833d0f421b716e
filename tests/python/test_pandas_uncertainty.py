"""brinora.pandas.sensitivities, .uncertainty and .buffers: the NumPy
functions' numbers on DataFrame columns, column names and units."""

import numpy as np
import pandas as pd
import pytest

import brinora
import brinora.pandas as bp


def _frame():
    """The worked sample of Orr et al. (2018) (see test_uncertainty.py) and
    two others, in columns named as the quantity table names the inputs."""
    return pd.DataFrame({"salinity": [35.0, 34.0, -9.0], "temperature": [18.0, 10.0, 18.0],
                         "ta": [2300.0, 2250.0, 2300.0], "tco2": [2000.0, 2100.0, 2000.0],
                         "u_ta": [2.0, 3.0, 2.0], "u_tco2": [2.0, 2.0, 2.0],
                         "u_salinity": 0.01, "u_temperature": 0.01},
                        index=["a", "b", "c"])


def test_uncertainty_columns_named_from_the_quantity_table():
    df = _frame()
    out = bp.uncertainty(df, results=["ph", "pco2", "omega_aragonite"], budget=True)
    reference = brinora.uncertainty(df.salinity, df.temperature, ta=df.ta, tco2=df.tco2,
                                    u_ta=df.u_ta, u_tco2=df.u_tco2, u_salinity=0.01,
                                    u_temperature=0.01)
    assert list(out.index) == ["a", "b", "c"]
    assert list(out.columns[:3]) == ["u_ph", "u_pco2", "u_omega_aragonite"]
    assert out.u_ph["a"] == pytest.approx(0.0118952, abs=5e-8)
    for name in ("ph", "pco2", "omega_aragonite"):
        np.testing.assert_array_equal(out[f"u_{name}"].to_numpy(), reference[name])
    np.testing.assert_array_equal(out["u_ph_budget_pk2"].to_numpy(), reference.budget["ph"]["pk2"])
    assert [c for c in out.columns if c.startswith("u_ph_budget_")] == [
        f"u_ph_budget_{s}" for s in ("ta", "tco2", "salinity", "temperature", "pk0", "pk1", "pk2",
                                     "pkb", "pkw", "pkspa", "pkspc", "bt")]
    assert list(out.status) == [0, 0, 1]
    assert np.isnan(out.u_ph["c"])
    assert out.attrs["units"]["u_ph"] == "1"
    assert out.attrs["units"]["u_pco2"] == "uatm"
    assert out.attrs["units"]["u_pco2_budget_ta"] == "uatm"
    assert "status" not in out.attrs["units"]


def test_named_columns_and_numbers_for_every_row():
    df = _frame().rename(columns={"salinity": "sal", "ta": "alk", "u_ta": "ualk"})
    out = bp.uncertainty(df, salinity="sal", temperature="temperature", ta="alk", tco2="tco2",
                         u_ta="ualk", u_tco2=2, u_salinity=0.01, u_temperature=0.01,
                         results="ph")
    assert list(out.columns) == ["u_ph", "status"]
    assert out.u_ph["a"] == pytest.approx(0.0118952, abs=5e-8)
    with pytest.raises(ValueError, match="^u_ta: the DataFrame has no column 'u_alk'"):
        bp.uncertainty(df, salinity="sal", temperature="temperature", ta="alk", tco2="tco2",
                       u_ta="u_alk")


def test_sensitivities_and_buffers():
    df = _frame()
    d = bp.sensitivities(df, results="ph", sources=["ta", "tco2", "temperature"])
    assert list(d.columns) == ["dph_dta", "dph_dtco2", "dph_dtemperature", "status"]
    assert d.dph_dta["a"] == pytest.approx(1.5592e-3, rel=0.005)
    assert d.attrs["units"] == {"dph_dta": "umol-1 kg", "dph_dtco2": "umol-1 kg",
                                "dph_dtemperature": "degC-1"}
    reference = brinora.sensitivities(df.salinity, df.temperature, ta=df.ta, tco2=df.tco2)
    np.testing.assert_array_equal(d.dph_dtemperature.to_numpy(), reference["ph"]["temperature"])
    b = bp.buffers(df)
    assert b.revelle_factor.round(3)["a"] == 9.691
    assert b.attrs["units"]["gamma_dic"] == "umol kg-1"
    assert b.attrs["units"]["dlnpco2_dt_out"] == "degC-1"
    assert list(b.status) == [0, 0, 1]
