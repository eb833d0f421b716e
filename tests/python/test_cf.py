"""brinora.xarray reads CF units and standard names and converts with TEOS-10;
its results carry CF-1.10 metadata."""

import warnings

import gsw
import numpy as np
import pytest
import xarray as xr

import brinora
import brinora.xarray
from brinora.xarray import ConversionWarning

OPTIONS = dict(constants=10, khso4=1, ph_scale=1, flux=1)


def cmip_grid():
    """A CMIP-style grid: potential temperature, practical salinity, TA and
    DIC in mol m-3, depth in metres (positive down), latitude and longitude."""
    lev = np.array([5.0, 100.0, 1000.0, 2500.0, 4000.0])
    lat = np.array([-60.0, -20.0, 0.0, 35.0, 70.0])
    lon = np.array([10.0, 150.0, 300.0])
    z, y, x = np.meshgrid(lev, lat, lon, indexing="ij")
    thetao = 1.2 + 25.0 * np.cos(np.radians(y)) ** 2 * np.exp(-z / 700.0)
    so = 34.6 + 1.1 * np.cos(np.radians(y)) * np.exp(-z / 900.0) + 0.05 * np.sin(np.radians(x))
    talk = (2300.0 + 60.0 * (so - 35.0) + 0.012 * z) * 1.0265e-3
    dissic = (1960.0 + 260.0 * (1.0 - np.exp(-z / 1200.0)) - 4.0 * (thetao - 12.0)) * 1.0265e-3
    so[0, 0, 0] = np.nan  # a land point
    dims = ("lev", "lat", "lon")
    f4 = np.float32
    return xr.Dataset(
        {"thetao": (dims, thetao.astype(f4), {"units": "degC", "long_name": "Sea Water Potential Temperature",
                                              "standard_name": "sea_water_potential_temperature"}),
         "so": (dims, so.astype(f4), {"units": "0.001", "standard_name": "sea_water_salinity"}),
         "talk": (dims, talk.astype(f4), {"units": "mol m-3", "standard_name":
                  "sea_water_alkalinity_expressed_as_mole_equivalent"}),
         "dissic": (dims, dissic.astype(f4), {"units": "mol m-3", "standard_name":
                    "mole_concentration_of_dissolved_inorganic_carbon_in_sea_water"})},
        coords={"lev": ("lev", lev, {"units": "m", "positive": "down", "standard_name": "depth",
                                     "axis": "Z", "long_name": "ocean depth coordinate"}),
                "lat": ("lat", lat, {"units": "degrees_north", "standard_name": "latitude",
                                     "axis": "Y"}),
                "lon": ("lon", lon, {"units": "degrees_east", "standard_name": "longitude",
                                     "axis": "X"})},
        attrs={"history": "made by the test"})


def by_hand(ds):
    """The same grid converted with gsw by hand: sea pressure from depth,
    Absolute Salinity, in-situ temperature as the potential temperature
    referenced to the in-situ pressure, contents divided by the density."""
    so, thetao, talk, dissic = (v.values.astype(np.float64) for v in (ds.so, ds.thetao, ds.talk,
                                                                       ds.dissic))
    z, lat, lon = np.meshgrid(ds.lev.values, ds.lat.values, ds.lon.values, indexing="ij")
    p = gsw.p_from_z(-z, lat)
    sa = gsw.SA_from_SP(so, p, lon, lat)
    t = gsw.pt_from_t(sa, thetao, 0, p)
    rho = gsw.rho(sa, gsw.CT_from_pt(sa, thetao), p)
    return brinora.compute(so, t, p, ta=talk / rho * 1e6, tco2=dissic / rho * 1e6, **OPTIONS), p


def test_cmip_grid_lazily_equals_gsw_by_hand():
    ds = cmip_grid()
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always", ConversionWarning)
        lazy = brinora.xarray.compute(ds.chunk({"lev": 2, "lat": 3}), ta="talk", tco2="dissic",
                                      **OPTIONS)
    assert lazy.ph.chunks is not None  # nothing computed yet
    out = lazy.compute()
    reference, p = by_hand(ds)
    ph, expected = out.ph.values, reference["ph"]
    assert np.isnan(ph[0, 0, 0]) and out.status.values[0, 0, 0] == brinora.STATUS_MESSAGES.index(
        "refused: the salinity is not a number")
    assert np.nanmax(np.abs(ph - expected)) < 0.002
    assert np.nanmax(np.abs(out.pressure.values - p)) < 0.01
    # At 4000 m the pressure is about 4066 dbar at the equator, and it matters.
    assert 4060 < float(out.pressure.sel(lev=4000, lat=0).values[0]) < 4070
    surface = brinora.compute(ds.so.values, ds.thetao.values, 0, ta=ds.talk.values * 974.2,
                              tco2=ds.dissic.values * 974.2, **OPTIONS)
    deep_true = float(out.omega_aragonite.sel(lev=4000, lat=0, lon=150))
    deep_surface = float(surface["omega_aragonite"][4, 2, 1])
    assert deep_true < 0.8 * deep_surface
    np.testing.assert_allclose(out.omega_aragonite.values, reference["omega_aragonite"],
                               rtol=2e-3)
    messages = [str(w.message) for w in caught if w.category is ConversionWarning]
    assert messages == out.attrs["input_conversions"].split("\n")
    assert len(messages) == len(set(messages)) == 4
    assert messages[0].startswith("pressure: from the depth lev [m] with TEOS-10 gsw.p_from_z")
    assert messages[1].startswith("temperature: thetao, potential temperature, to in-situ")
    assert messages[2] == ("ta: talk in 'mol m-3' divided by the in-situ density "
                           "(TEOS-10 gsw.rho_t_exact) to umol kg-1")


def test_cf_attributes():
    ds = cmip_grid()
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", ConversionWarning)
        out = brinora.xarray.compute(ds, ta="talk", tco2="dissic", **OPTIONS)
        free = brinora.xarray.compute(ds, ta="talk", tco2="dissic", constants=10, ph_scale="free",
                                      results=["ph", "ph_out"])
    assert out.attrs["Conventions"] == "CF-1.10"
    assert "brinora.xarray.compute(salinity=so, temperature=thetao, ta=talk, tco2=dissic)" in \
        out.attrs["history"]
    assert out.attrs["history"].endswith("\nmade by the test")
    for name in ("lev", "lat", "lon"):
        assert out[name].attrs == ds[name].attrs
    assert out.ph.attrs == {"units": "1", "long_name": "pH at input conditions on the total scale",
                            "standard_name": "sea_water_ph_reported_on_total_scale",
                            "ancillary_variables": "status"}
    assert free.ph.attrs["long_name"] == "pH at input conditions on the free scale"
    assert free.ph_out.attrs["long_name"] == "pH at output conditions on the free scale"
    assert "standard_name" not in free.ph.attrs
    assert out.temperature.attrs["standard_name"] == "sea_water_temperature"
    assert out.salinity.attrs["standard_name"] == "sea_water_practical_salinity"
    assert out.pressure.attrs["units"] == "dbar"
    status = out.status.attrs
    assert status["standard_name"] == "status_flag"
    assert list(status["flag_values"]) == list(range(len(brinora.STATUS_MESSAGES)))
    meanings = status["flag_meanings"].split()
    assert len(meanings) == len(set(meanings)) == len(brinora.STATUS_MESSAGES)
    assert meanings[:2] == ["computed", "the_salinity_is_missing"]
    assert all(out[n].attrs["ancillary_variables"] == "status" for n in out.data_vars
               if n != "status")
    assert "co2_flux" not in out and "co2_flux_out" not in out


def test_flux_only_with_both_inputs():
    ds = cmip_grid().isel(lev=[0])
    ds["wind"] = (("lat", "lon"), np.full((5, 3), 7.0), {"units": "m s-1"})
    ds["pco2atm"] = ((), 40.53, {"units": "Pa"})  # 400 uatm
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always", ConversionWarning)
        out = brinora.xarray.compute(ds, ta="talk", tco2="dissic", wind_speed="wind",
                                     pco2_air="pco2atm", **OPTIONS)
    assert any("pco2_air: pco2atm converted from 'Pa' to 'uatm'" in str(w.message) for w in caught)
    np.testing.assert_allclose(out.pco2_air.values[0, 1, 1], 40.53 / 101325 * 1e6, rtol=1e-6)
    assert out.co2_flux.attrs["units"] == "mmol m-2 d-1"
    assert np.isfinite(out.co2_flux.values[0, 1:]).all()
    with pytest.raises(ValueError, match="pCO2air is required to calculate Air-Sea flux"):
        brinora.xarray.compute(ds, ta="talk", tco2="dissic", wind_speed="wind")
    with pytest.raises(ValueError, match="the air-sea flux needs wind_speed and pco2_air: co2_flux"):
        brinora.xarray.compute(ds, ta="talk", tco2="dissic", results=["co2_flux"])


def test_unreadable_units_are_refused_unless_given():
    ds = cmip_grid()
    ds.talk.attrs["units"] = "mole per cubic cubit"
    with pytest.raises(ValueError, match=r"ta \(talk\) has units 'mole per cubic cubit', which "
                       r"are not units that can be read"):
        brinora.xarray.compute(ds, ta="talk", tco2="dissic", **OPTIONS)
    del ds.dissic.attrs["units"]
    with pytest.raises(ValueError, match=r"tco2 \(dissic\) has units None, none given"):
        brinora.xarray.compute(ds, ta="talk", tco2="dissic", units={"ta": "mol m-3"}, **OPTIONS)
    ds.so.attrs["units"] = "kg"
    with pytest.raises(ValueError, match=r"salinity \(so\) has units 'kg', which are not those"):
        brinora.xarray.compute(ds, ta="talk", tco2="dissic", **OPTIONS)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", ConversionWarning)
        given = brinora.xarray.compute(ds, ta="talk", tco2="dissic", results=["ph"], units={
            "ta": "mol m-3", "tco2": "mol/m^3", "salinity": "1e-3"}, **OPTIONS)
        right = brinora.xarray.compute(cmip_grid(), ta="talk", tco2="dissic", results=["ph"],
                                       **OPTIONS)
    np.testing.assert_array_equal(given.ph.values, right.ph.values)


@pytest.mark.parametrize("attrs, scale, offset, standard", [
    ({"units": "K"}, 1.0, 273.15, None),
    ({"units": "degC", "standard_name": "sea_water_conservative_temperature"}, 1.0, 0.0,
     "conservative"),
])
def test_temperature_units_and_kinds(attrs, scale, offset, standard):
    ds = cmip_grid().isel(lev=[0, 4])
    t_in_situ = 12.0
    so = ds.so.values.astype(np.float64)
    z, lat, lon = np.meshgrid(ds.lev.values, ds.lat.values, ds.lon.values, indexing="ij")
    p = gsw.p_from_z(-z, lat)
    sa = gsw.SA_from_SP(so, p, lon, lat)
    value = gsw.CT_from_t(sa, t_in_situ, p) if standard else np.full(so.shape, t_in_situ)
    ds["t"] = (ds.so.dims, value * scale + offset, attrs)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", ConversionWarning)
        out = brinora.xarray.compute(ds, temperature="t", ta=2300, tco2=2000,
                                     results=["temperature", "ph"], **OPTIONS)
    ok = np.isfinite(so)
    np.testing.assert_allclose(out.temperature.values[ok], t_in_situ, atol=2e-5)


def test_absolute_salinity_and_mol_per_kg():
    ds = cmip_grid().isel(lev=[1, 3])
    z, lat, lon = np.meshgrid(ds.lev.values, ds.lat.values, ds.lon.values, indexing="ij")
    p = gsw.p_from_z(-z, lat)
    sa = gsw.SA_from_SP(ds.so.values.astype(np.float64), p, lon, lat)
    ds["sa"] = (ds.so.dims, sa, {"units": "g/kg", "standard_name": "sea_water_absolute_salinity"})
    ds["alk"] = (ds.so.dims, np.full(sa.shape, 2.3e-3), {"units": "mol kg-1"})
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always", ConversionWarning)
        out = brinora.xarray.compute(ds, salinity="sa", temperature=10.0, ta="alk", tco2=2000,
                                     results=["salinity", "ta"], **OPTIONS)
    ok = np.isfinite(sa)
    np.testing.assert_allclose(out.salinity.values[ok], ds.so.values[ok], atol=2e-5)
    np.testing.assert_allclose(out.ta.values[ok], 2300.0, rtol=1e-6)
    notes = [str(w.message) for w in caught if w.category is ConversionWarning]
    assert "salinity: sa, Absolute Salinity, to Practical Salinity with TEOS-10 gsw.SP_from_SA " \
           "at the pressure and location" in notes
    assert "ta: alk converted from 'mol kg-1' to 'umol kg-1' (pint)" in notes


def test_no_vertical_coordinate_is_the_surface():
    ds = cmip_grid().isel(lev=0, drop=True)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", ConversionWarning)
        out = brinora.xarray.compute(ds, temperature="thetao", ta=2300, tco2=2000,
                                     results=["pressure"], units={"temperature": "degC"})
    assert float(out.pressure.max()) == 0.0
    assert out.attrs["pressure"] == "none given and no vertical coordinate: 0 dbar (the surface)"
