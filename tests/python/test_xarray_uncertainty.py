"""brinora.xarray.sensitivities, .uncertainty, .buffers and .add_uncertainty:
lazy on dask until computed, equal to the NumPy functions element for
element, and their CF attributes."""

import numpy as np
import pytest
import xarray as xr

import brinora
import brinora.xarray as bx
from grid import small_grid

# The worked value of Orr et al. (2018) (see test_uncertainty.py): S 35,
# T 18, P 0, TA 2300, DIC 2000, Lueker et al. (2000) constants, total scale,
# KHSO4 of Dickson (1990), u(TA) = u(DIC) = 2, u(S) = u(T) = 0.01, the
# standard uncertainties of the constants.
WORKED_U = dict(u_ta=2, u_tco2=2, u_salinity=0.01, u_temperature=0.01)
OPTIONS = dict(constants=13, khso4=1, ph_scale=1)
GRID = dict(salinity="so", temperature="thetao", pressure="pressure", ta="talk", tco2="dissic")


def _worked_grid():
    """The worked sample at every point of a 3 x 4 grid, with CF units."""
    shape = (3, 4)
    return xr.Dataset(
        {"so": (("y", "x"), np.full(shape, 35.0), {"units": "1"}),
         "thetao": (("y", "x"), np.full(shape, 18.0), {"units": "degC"}),
         "talk": (("y", "x"), np.full(shape, 2300.0), {"units": "umol kg-1"}),
         "dissic": (("y", "x"), np.full(shape, 2000.0), {"units": "umol kg-1"})},
        coords={"y": np.arange(3.0), "x": np.arange(4.0)})


def _grid_arrays(ds):
    so, thetao, talk, dissic, p = xr.broadcast(ds.so, ds.thetao, ds.talk, ds.dissic, ds.pressure)
    return dict(salinity=so.values, temperature=thetao.values, pressure=p.values,
                ta=talk.values, tco2=dissic.values)


def test_the_worked_value_on_a_chunked_grid_equals_the_numpy_result():
    lazy = bx.uncertainty(_worked_grid().chunk({"y": 1, "x": 2}), ta="talk", tco2="dissic",
                          **WORKED_U, budget=True, **OPTIONS)
    assert lazy.u_ph.chunks == ((1, 1, 1), (2, 2))
    computed = lazy.compute()
    reference = brinora.uncertainty(35, 18, ta=2300, tco2=2000, **WORKED_U, **OPTIONS)
    assert float(computed.u_ph[2, 3]) == float(reference["ph"])
    assert float(computed.u_ph[0, 0]) == pytest.approx(0.0118952, abs=5e-8)
    assert float(computed.u_pco2[1, 2]) == pytest.approx(9.62364, abs=5e-6)
    np.testing.assert_array_equal(computed.u_omega_aragonite.values,
                                  np.full((3, 4), float(reference["omega_aragonite"])))
    assert list(computed.source.values) == ["ta", "tco2", "salinity", "temperature", "pk0", "pk1",
                                            "pk2", "pkb", "pkw", "pkspa", "pkspc", "bt"]
    budget = computed.u_ph_budget[:, 1, 1]
    assert str(budget.source[int(np.argmax(budget.values))].values) == "pk2"
    assert float(budget.sel(source="pk2")) == float(reference.budget["ph"]["pk2"])
    assert float((budget ** 2).sum()) == pytest.approx(float(reference["ph"]) ** 2, rel=1e-12)
    assert computed.u_ph_budget.dims == ("source", "y", "x")
    assert (computed.uncertainty_status.values == 0).all()


def test_lazy_uncertainty_equals_numpy_on_the_model_grid():
    ds = small_grid()
    u_tco2 = xr.DataArray(np.linspace(1.0, 4.0, 18), dims="lat", attrs={"units": "umol kg-1"})
    lazy = bx.uncertainty(ds.chunk({"lev": 1, "lat": 9}), **GRID, u_ta=2, u_tco2=u_tco2,
                          correlation=0.3, budget=True, constants=10)
    eager = bx.uncertainty(ds, **GRID, u_ta=2, u_tco2=u_tco2, correlation=0.3, budget=True,
                           constants=10)
    assert lazy.u_ph.chunks is not None and eager.u_ph.chunks is None
    reference = brinora.uncertainty(**_grid_arrays(ds), u_ta=2, u_tco2=u_tco2.values[:, None],
                                    correlation=0.3, constants=10)
    computed = lazy.compute()
    for name in ("ph", "pco2", "carbonate", "omega_aragonite_out", "hydrogen_ion"):
        np.testing.assert_array_equal(computed[f"u_{name}"].values, reference[name])
        np.testing.assert_array_equal(eager[f"u_{name}"].values, reference[name])
        for source in ("ta", "tco2", "pk2", "bt"):
            np.testing.assert_array_equal(
                computed[f"u_{name}_budget"].sel(source=source).values,
                reference.budget[name][source])
    np.testing.assert_array_equal(computed.uncertainty_status.values, reference.status)
    assert computed.uncertainty_status.values[0, 0, 0] == 1  # land: salinity NaN


def test_nothing_is_computed_until_asked(monkeypatch):
    import dask

    calls = []
    real = brinora.uncertainty

    def counting(*args, **kwargs):
        calls.append(np.shape(kwargs["salinity"]))
        return real(*args, **kwargs)

    monkeypatch.setattr(brinora, "uncertainty", counting)
    out = bx.uncertainty(small_grid().chunk({"lev": 1, "lat": 9}), **GRID, u_ta=2,
                         results=["ph", "pco2"])
    assert calls == []
    assert sorted(out.data_vars) == ["u_pco2", "u_ph", "uncertainty_status"]
    with dask.config.set(scheduler="synchronous"):
        out.load()
    assert calls == [(1, 9, 36)] * 8


def test_uncertainty_attributes():
    out = bx.uncertainty(_worked_grid(), ta="talk", tco2="dissic", **WORKED_U, budget=True,
                         **OPTIONS)
    assert out.u_ph.attrs == {
        "units": "1",
        "long_name": "standard uncertainty of pH at input conditions on the total scale",
        "standard_name": "sea_water_ph_reported_on_total_scale standard_error",
        "ancillary_variables": "uncertainty_status"}
    assert out.u_ta.attrs["standard_name"] == (
        "sea_water_alkalinity_per_unit_mass_expressed_as_mole_equivalent standard_error")
    assert out.u_pco2.attrs == {
        "units": "uatm",
        "long_name": "standard uncertainty of partial pressure of CO2 at input conditions",
        "ancillary_variables": "uncertainty_status"}
    assert out.u_hydrogen_ion_out.attrs["long_name"] == (
        "standard uncertainty of hydrogen ion [H+] at output conditions on the total scale")
    assert out.u_hydrogen_ion_out.attrs["units"] == "umol kg-1"
    assert out.u_carbonate_budget.attrs == {
        "units": "umol kg-1",
        "long_name": "part of the standard uncertainty of carbonate CO3 at input conditions from "
                     "each source alone, |dy/dx| u(x)"}
    assert out.uncertainty_status.attrs["flag_meanings"] == "computed refused no_solution"
    assert out.attrs["title"] == (
        "Standard uncertainties of the carbonate system of seawater computed by Brinora")
    assert out.attrs["constants"] == "13: Lueker et al. (2000) total scale"
    assert out.attrs["uncertainty_method"] == (
        "linear: first-order propagation with exact derivatives (JCGM 100:2008)")
    assert "co2_flux" not in "".join(out.data_vars)
    free = bx.uncertainty(_worked_grid(), ta="talk", tco2="dissic", u_ta=2, constants=13,
                          ph_scale="free", results="ph")
    assert "standard_name" not in free.u_ph.attrs
    assert free.u_ph.attrs["long_name"] == (
        "standard uncertainty of pH at input conditions on the free scale")


def test_add_uncertainty_links_each_result_to_its_uncertainty():
    ds = small_grid().chunk({"lev": 2})
    result = bx.compute(ds, **GRID, results=["ph", "pco2", "omega_aragonite"], constants=10)
    u = bx.uncertainty(ds, **GRID, u_ta=2, u_tco2=2, results=["ph", "pco2", "hydrogen_ion"],
                       budget=True, constants=10)
    both = bx.add_uncertainty(result, u)
    assert both.ph.attrs["ancillary_variables"] == "status u_ph"
    assert both.pco2.attrs["ancillary_variables"] == "status u_pco2"
    assert both.omega_aragonite.attrs["ancillary_variables"] == "status"
    assert result.ph.attrs["ancillary_variables"] == "status"  # the input is not changed
    assert {"u_ph", "u_pco2", "u_hydrogen_ion", "u_ph_budget", "uncertainty_status"} <= set(both)
    assert both.u_ph.chunks is not None
    assert both.attrs["title"] == "Carbonate system of seawater computed by Brinora"
    assert both.attrs["history"].split("\n")[0].endswith(
        "brinora.xarray.uncertainty(salinity=so, temperature=thetao, pressure=pressure, ta=talk, "
        "tco2=dissic) with Brinora " + brinora.__version__)
    loaded = both.compute()
    reference = brinora.uncertainty(**_grid_arrays(small_grid()), u_ta=2, u_tco2=2, constants=10)
    np.testing.assert_array_equal(loaded.u_ph.values, reference["ph"])
    with pytest.raises(ValueError, match="^the results were computed with constants "
                       "'13: Lueker et al. \\(2000\\) total scale', the uncertainties with "
                       "'10: Millero et al. \\(2002\\) pK2 corrected for fCO2': compute both "
                       "with the same options$"):
        bx.add_uncertainty(bx.compute(ds, **GRID, results="ph"), u)
    with pytest.raises(ValueError, match="the uncertainties are not on the coordinates"):
        bx.add_uncertainty(result.isel(lat=slice(0, 9)), u)


def test_sensitivities_lazy_equal_numpy_with_units():
    ds = small_grid()
    lazy = bx.sensitivities(ds.chunk({"lat": 6}), **GRID, results=["ph", "pco2"],
                            sources=["ta", "temperature", "pk2"], constants=10)
    assert sorted(lazy.data_vars) == ["dpco2_dpk2", "dpco2_dta", "dpco2_dtemperature", "dph_dpk2",
                                      "dph_dta", "dph_dtemperature", "status"]
    assert lazy.dph_dta.chunks is not None
    reference = brinora.sensitivities(**_grid_arrays(ds), constants=10)
    computed = lazy.compute()
    for result in ("ph", "pco2"):
        for source in ("ta", "temperature", "pk2"):
            np.testing.assert_array_equal(computed[f"d{result}_d{source}"].values,
                                          reference[result][source])
    assert computed.dph_dta.attrs == {
        "units": "umol-1 kg",
        "long_name": "partial derivative of pH at input conditions on the total scale with "
                     "respect to total alkalinity TA",
        "ancillary_variables": "status"}
    assert computed.dpco2_dtemperature.attrs["units"] == "uatm degC-1"
    assert computed.dpco2_dpk2.attrs["units"] == "uatm"
    assert computed.dpco2_dpk2.attrs["long_name"] == (
        "partial derivative of partial pressure of CO2 at input conditions with respect to "
        "pK2 of carbonic acid")
    every = bx.sensitivities(_worked_grid(), ta="talk", tco2="dissic")
    # 32 results (no flux) by the 23 sources of the pair without the flux inputs, and status.
    assert len(every.data_vars) == 32 * 23 + 1
    assert float(every.dph_dta[0, 0]) == pytest.approx(1.5592e-3, rel=0.005)


def test_buffers_lazy_equal_numpy():
    ds = small_grid()
    lazy = bx.buffers(ds.chunk({"lev": 2}), **GRID, constants=10)
    reference = brinora.buffers(**_grid_arrays(ds), constants=10)
    computed = lazy.compute()
    assert len(computed.data_vars) == 19
    for name in computed.data_vars:
        np.testing.assert_array_equal(computed[name].values, reference[name])
    assert computed.revelle_factor.attrs == {
        "units": "1",
        "long_name": "Revelle factor d ln pCO2 / d ln DIC at fixed TA, at input conditions",
        "ancillary_variables": "status"}
    assert computed.gamma_dic_out.attrs["units"] == "umol kg-1"
    assert computed.dlnpco2_dt.attrs["units"] == "degC-1"
    worked = bx.buffers(_worked_grid(), ta="talk", tco2="dissic", results=["revelle_factor"])
    assert round(float(worked.revelle_factor[0, 0]), 3) == 9.691


def test_uncertainties_of_variables_are_converted_by_a_factor():
    ds = _worked_grid()
    ds["udic"] = (("y", "x"), np.full((3, 4), 0.002), {"units": "mmol kg-1"})
    ds["utemp"] = ((), 0.01, {"units": "K"})
    with pytest.warns(bx.ConversionWarning) as caught:
        out = bx.uncertainty(ds, ta="talk", tco2="dissic", u_ta=2, u_tco2="udic",
                             u_salinity=0.01, u_temperature="utemp", **OPTIONS)
    # A temperature difference in K is one in degC: no conversion.
    note = "u_tco2: udic converted from 'mmol kg-1' to 'umol kg-1' (pint, a factor of 1000)"
    assert [str(w.message) for w in caught] == [note]
    assert out.attrs["input_conversions"] == note
    assert float(out.u_ph[0, 0]) == pytest.approx(0.0118952, abs=5e-8)
    ds["udic"].attrs["units"] = "mol m-3"
    with pytest.raises(ValueError, match="^u_tco2 \\(udic\\) has units 'mol m-3', which cannot be "
                       "converted to 'umol kg-1' by a factor; give it in 'umol kg-1'$"):
        bx.uncertainty(ds, ta="talk", tco2="dissic", u_tco2="udic")


def test_bad_calls_are_refused_before_anything_is_computed():
    ds = small_grid().chunk({"lev": 1})
    with pytest.raises(ValueError, match="u_ph is given but ph is not one of the pair"):
        bx.uncertainty(ds, **GRID, u_ph=0.01)
    with pytest.raises(ValueError, match="a Monte Carlo result has no budget"):
        bx.uncertainty(ds, **GRID, method="monte_carlo", budget=True)
    with pytest.raises(ValueError, match="correlation must lie in -1..1"):
        bx.uncertainty(ds, **GRID, correlation=1.5)
    with pytest.raises(ValueError, match="^unknown source\\(s\\) 'ph': the sources of this pair "
                       "are ta, tco2, salinity"):
        bx.sensitivities(ds, **GRID, sources=["ph"])
    with pytest.raises(ValueError, match="the air-sea flux needs wind_speed and pco2_air: "
                       "co2_flux cannot be computed"):
        bx.uncertainty(ds, **GRID, results=["co2_flux"])
    with pytest.raises(ValueError, match="^unknown buffer factor\\(s\\) 'revelle'"):
        bx.buffers(ds, **GRID, results="revelle")
    with pytest.raises(ValueError, match="^units: 'u_bt' is not the uncertainty of an input$"):
        bx.uncertainty(ds, **GRID, units={"u_bt": "1"})


def test_monte_carlo_does_not_depend_on_the_chunks():
    ds = small_grid(nlev=2, nlat=4, nlon=3)
    args = dict(**GRID, u_ta=2, u_tco2=2, method="monte_carlo", draws=200, seed=7,
                results=["ph", "omega_aragonite"], constants=10)
    eager = bx.uncertainty(ds, **args)
    lazy = bx.uncertainty(ds.chunk({"lev": 1, "lat": 3, "lon": 2}), **args)
    assert lazy.u_ph.chunks == ((1, 1), (3, 1), (2, 1))
    computed = lazy.compute()
    # Sample i of the grid is seeded by 7 + i in C order, as in one NumPy call.
    reference = brinora.uncertainty(**_grid_arrays(ds), u_ta=2, u_tco2=2, method="monte_carlo",
                                    draws=200, seed=7, constants=10)
    for name in ("ph", "omega_aragonite"):
        np.testing.assert_array_equal(computed[f"u_{name}"].values, reference[name])
        np.testing.assert_array_equal(eager[f"u_{name}"].values, reference[name])
    assert eager.attrs["uncertainty_method"] == "monte_carlo: 200 normal draws per sample, seed 7"


def test_per_sample_seeds_of_the_numpy_function():
    args = dict(ta=2300, tco2=2000, u_ta=2, u_tco2=2, method="monte_carlo", draws=100)
    three = brinora.uncertainty([35.0, 34.0, 33.0], 18, **args, seed=5)
    own = brinora.uncertainty([35.0, 34.0, 33.0], 18, **args, seed=np.array([5, 6, 7]))
    np.testing.assert_array_equal(three["ph"], own["ph"])
    single = brinora.uncertainty(34.0, 18, **args, seed=6)
    assert own["ph"][1] == float(single["ph"])
    with pytest.raises(TypeError, match="seed must be an integer or an array of integers"):
        brinora.uncertainty(35.0, 18, **args, seed=np.array([1.5]))


def test_without_budget_the_numpy_function_gives_the_same_uncertainties():
    full = brinora.uncertainty([35.0, 30.0], 18, ta=2300, tco2=2000, **WORKED_U)
    lean = brinora.uncertainty([35.0, 30.0], 18, ta=2300, tco2=2000, **WORKED_U, budget=False)
    assert lean.budget == {} and set(full.budget["ph"]) >= {"ta", "pk2"}
    for name in ("ph", "pco2", "omega_aragonite_out"):
        np.testing.assert_array_equal(lean[name], full[name])
