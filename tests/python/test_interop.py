"""Result as a DataFrame or a Dataset, pandas columns by name, masked and
nullable inputs, the seawater range check, the flux inputs, the stub."""

import ast
import inspect
import pathlib
import warnings

import numpy as np
import pandas as pd
import pytest

import brinora
import brinora.pandas as bp
import brinora.xarray

BASE = dict(constants=13, khso4=1, ph_scale=1, flux=1)
MASKED_TCO2 = brinora.STATUS_MESSAGES.index("refused: TCO2 is masked (a missing value)")


def test_result_to_dataframe_and_to_xarray():
    sal = np.array([33.0, 34.0, 35.0])
    r = brinora.compute(sal, 10.0, ta=2300, tco2=2000, results=["ph", "pco2"], **BASE)
    df = r.to_dataframe(index=pd.Index([7, 8, 9], name="sample"))
    assert list(df.columns) == ["ph", "pco2", "status"]
    assert list(df.index) == [7, 8, 9]
    np.testing.assert_array_equal(df["ph"].to_numpy(), r["ph"])
    assert df["ph"].dtype == np.float32 and df["status"].dtype == np.int8
    grid = brinora.compute(sal.reshape(3, 1), np.array([5.0, 25.0]), ta=2300, tco2=2000, **BASE)
    with pytest.raises(ValueError, match=r"one-dimensional results, not of shape \(3, 2\)"):
        grid.to_dataframe()
    ds = grid.to_xarray(dims=("station", "depth"), coords={"station": [1, 2, 3]})
    assert ds.ph.dims == ("station", "depth") and list(ds.station.values) == [1, 2, 3]
    np.testing.assert_array_equal(ds.omega_aragonite.values, grid["omega_aragonite"])
    assert ds.ph.attrs["standard_name"] == "sea_water_ph_reported_on_total_scale"
    assert ds.ph.attrs["ancillary_variables"] == "status"
    assert ds.attrs["Conventions"] == "CF-1.10"
    assert grid.to_xarray().ph.dims == ("dim_0", "dim_1")


def test_pandas_columns_by_name_in_any_order():
    rng = np.random.default_rng(5)
    frame = pd.DataFrame({"dic": rng.uniform(1900, 2100, 50), "sal": rng.uniform(30, 37, 50),
                          "alk": rng.uniform(2200, 2400, 50), "temp": rng.uniform(0, 30, 50),
                          "depth_dbar": rng.uniform(0, 3000, 50)}, index=np.arange(100, 150))
    out = bp.compute(frame, salinity="sal", temperature="temp", pressure="depth_dbar", ta="alk",
                     tco2="dic", results=["ph", "omega_aragonite"], **BASE)
    expected = brinora.compute(frame.sal.to_numpy(), frame.temp.to_numpy(),
                               frame.depth_dbar.to_numpy(), ta=frame.alk.to_numpy(),
                               tco2=frame.dic.to_numpy(), **BASE)
    assert list(out.columns) == ["ph", "omega_aragonite", "status"]
    assert list(out.index) == list(frame.index)
    np.testing.assert_array_equal(out.ph.to_numpy(), expected["ph"])
    np.testing.assert_array_equal(out.omega_aragonite.to_numpy(), expected["omega_aragonite"])
    assert (out.status == 0).all()
    with pytest.raises(ValueError, match="ta: the DataFrame has no column 'TA'; its columns: dic, "
                       "sal, alk, temp, depth_dbar"):
        bp.compute(frame, salinity="sal", temperature="temp", ta="TA", tco2="dic")


def test_batch_layout_read_by_header_names(source_dir):
    df = bp.read_batch_csv(source_dir / "examples" / "cruise.csv")
    records = bp.compute(df, **BASE)
    shuffled = df[list(reversed(df.columns))]
    again = bp.compute(shuffled, **BASE)
    assert len(records) > 0 and (records["Status"] == "").all()
    pd.testing.assert_frame_equal(records, again)
    assert all(c == c.strip() for c in records.columns)
    assert list(records.columns[47:51]) == ["CO2Constants", "KHSO4", "pH Scale", "Air-Sea Flux"]
    with pytest.raises(ValueError, match="missing: TA \\(umol/kg\\)"):
        bp.compute(df.drop(columns=["TA (umol/kg)"]), **BASE)


def test_masked_array_and_nullable_columns():
    tco2 = np.ma.masked_array([2000.0, 2050.0, 2100.0], mask=[False, True, False])
    r = brinora.compute(35.0, 10.0, ta=2300, tco2=tco2, **BASE)
    plain = brinora.compute(35.0, 10.0, ta=2300, tco2=np.array([2000.0, 2050.0, 2100.0]), **BASE)
    assert list(r["status"]) == [0, MASKED_TCO2, 0]
    assert np.isnan(r["ph"][1]) and r["ph"][0] == plain["ph"][0] and r["ph"][2] == plain["ph"][2]
    nan_input = brinora.compute(35.0, 10.0, ta=2300, tco2=[2000.0, np.nan], **BASE)
    assert brinora.STATUS_MESSAGES[nan_input["status"][1]] == "refused: TCO2 is not a number"
    column = pd.Series([2000.0, None, 2100.0], dtype="Float64")
    r = brinora.compute(35.0, 10.0, ta=2300, tco2=column, **BASE)
    assert list(r["status"]) == [0, MASKED_TCO2, 0]
    assert r["ph"][2] == plain["ph"][2]
    ints = pd.Series([2300, 2300, None], dtype="Int64")
    r = brinora.compute(35.0, 10.0, ta=ints, tco2=2000, **BASE)
    assert brinora.STATUS_MESSAGES[r["status"][2]] == "refused: TA is masked (a missing value)"
    with pytest.raises(TypeError, match="tco2: numbers are needed, not a column of dtype string"):
        brinora.compute(35.0, 10.0, ta=2300, tco2=pd.Series(["a"], dtype="string"), **BASE)


def test_seawater_range_check_and_one_warning():
    sal = np.array([35.0, 35.0, 35.0, 35.0, 35.0, 35.0])
    temp = np.array([10.0, 283.15, 10.0, 10.0, 10.0, 10.0])
    ta = np.array([2300.0, 2300.0, 2.3e-3, 2.36, 2300.0, 2300.0])
    tco2 = np.array([2000.0, 2000.0, 2.0e-3, 2.05, 2000.0, 1e20])
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        r = brinora.compute(sal, temp, ta=ta, tco2=tco2, **BASE)
    assert [str(w.message) for w in caught] == [
        "4 of 6 samples have values that no seawater has (the temperature outside -3..45 degC: 1, "
        "TA outside 100..5000 umol/kg: 2, TCO2 outside 100..5000 umol/kg: 1); they are refused "
        "(see their status). brinora.compute takes practical salinity, degC, dbar and umol/kg: "
        "check the units of the inputs."]
    assert caught[0].category is brinora.SeawaterRangeWarning
    assert list(r.reasons()[1:4]) == [
        "refused: the temperature is outside -3..45 degC, which no seawater has",
        "refused: TA is outside 100..5000 umol/kg, which no seawater has",
        "refused: TA is outside 100..5000 umol/kg, which no seawater has"]
    assert np.isnan(r["ph"][1:4]).all() and r["status"][0] == 0 and r["status"][4] == 0
    codes = brinora.check(sal, temp, ta=ta, tco2=tco2, warn=False)
    np.testing.assert_array_equal(codes, r["status"])


def test_status_never_zero_with_nan_results():
    # A fill value of 1e20 is finite in single precision: the calculation gives NaN.
    r = brinora.compute([35.0, 1e20], 10.0, ta=2300, tco2=2000, validate=False, **BASE)
    assert r["status"][0] == 0
    assert r["status"][1] == brinora.NO_NUMBER
    assert brinora.STATUS_MESSAGES[r["status"][1]] == \
        "some results are not a number (the calculation gave NaN; the others are kept)"
    assert np.isnan(r["ph"][1]) and np.isnan(r["omega_aragonite"][1])
    assert r["salinity"][1] == np.float32(1e20)  # as the program prints it
    # A salinity of 0 with the constants of Roy et al. (set 6): some results are NaN.
    r = brinora.compute(0.0, 29.1, 0, 1.78, ta=1891.8307, fco2=578.86, temperature_out=16,
                        constants=6, validate=False)
    assert r["status"] == brinora.NO_NUMBER and np.isnan(r["omega_aragonite"])
    r = brinora.compute([35.0, 1e20], 10.0, ta=2300, tco2=2000, **BASE)
    assert r.reasons()[1] == "refused: the salinity is outside 0..50, which no seawater has"


@pytest.mark.parametrize("flux, message", [
    (dict(wind_speed=5.0), "pCO2air is required to calculate Air-Sea flux: the air-sea flux needs "
                           "the pCO2 of the air as well as the wind speed: give pco2_air [uatm], "
                           "or leave out wind_speed"),
    (dict(pco2_air=400.0), "Windspeed is required to calculate Air-Sea flux: the air-sea flux needs "
                           "the wind speed as well as the pCO2 of the air: give wind_speed [m/s], "
                           "or leave out pco2_air"),
])
def test_one_flux_input_is_refused(flux, message):
    with pytest.raises(ValueError) as error:
        brinora.compute(35.0, 10.0, ta=2300, tco2=2000, **flux, **BASE)
    assert str(error.value) == message
    frame = pd.DataFrame({"s": [35.0], "t": [10.0], "w": [5.0], "a": [400.0]})
    names = {"wind_speed": "w"} if "wind_speed" in flux else {"pco2_air": "a"}
    with pytest.raises(ValueError, match="is required to calculate Air-Sea flux"):
        bp.compute(frame, salinity="s", temperature="t", ta=2300, tco2=2000, **names)


def test_results_selection():
    r = brinora.compute(35.0, 10.0, ta=2300, tco2=2000, results=["omega_calcite"], **BASE)
    full = brinora.compute(35.0, 10.0, ta=2300, tco2=2000, **BASE)
    assert list(r) == ["omega_calcite", "status"]
    assert r["omega_calcite"] == full["omega_calcite"]
    with pytest.raises(ValueError, match=r"unknown result name\(s\) 'omega': the results are salinity, "):
        brinora.compute(35.0, 10.0, ta=2300, tco2=2000, results=["omega"])


def _stub_signatures(path):
    tree = ast.parse(path.read_text())
    found = {}
    for node in ast.walk(tree):
        if isinstance(node, ast.FunctionDef):
            args = node.args
            found[node.name] = [a.arg for a in args.posonlyargs + args.args + args.kwonlyargs]
    return found


@pytest.mark.parametrize("module", [brinora, brinora.xarray, bp])
def test_stub_matches_the_module(module):
    stub = pathlib.Path(module.__file__).with_suffix(".pyi")
    signatures = _stub_signatures(stub)
    public = [n for n in dir(module) if not n.startswith("_") and inspect.isfunction(
        getattr(module, n)) and getattr(module, n).__module__ == module.__name__]
    assert public and sorted(public) == sorted(n for n in signatures if not n.startswith("_")
                                               and n not in ("to_dataframe", "to_xarray",
                                                             "reasons", "units", "status"))
    for name in public:
        parameters = inspect.signature(getattr(module, name)).parameters.values()
        assert signatures[name] == [p.name for p in parameters if p.kind != p.VAR_KEYWORD], name
    if module is brinora:
        for method in ("to_dataframe", "to_xarray", "reasons", "units"):
            parameters = list(inspect.signature(getattr(brinora.Result, method)).parameters)
            assert signatures[method] == parameters, method
