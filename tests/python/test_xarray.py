"""brinora.xarray: eager and lazy datasets, attributes, and a dask.distributed run."""

import numpy as np
import pytest
import xarray as xr

import brinora
import brinora.xarray
from grid import small_grid

OPTIONS = dict(constants=10, khso4=1, ph_scale=1, flux=1)
ARGS = dict(salinity="so", temperature="thetao", pressure="pressure", ta="talk", tco2="dissic")


def _eager_reference(ds):
    so, thetao, talk, dissic, p = xr.broadcast(ds.so, ds.thetao, ds.talk, ds.dissic, ds.pressure)
    return brinora.compute(so.values, thetao.values, p.values, ta=talk.values, tco2=dissic.values,
                           **OPTIONS)


def test_eager_dataset_equals_compute():
    ds = small_grid()
    out = brinora.xarray.compute(ds, **ARGS, **OPTIONS)
    reference = _eager_reference(ds)
    assert out.ph.dims == ("lev", "lat", "lon")
    np.testing.assert_array_equal(out.lat.values, ds.lat.values)
    # Without wind speed and pCO2 of the air there is no flux, and no flux inputs.
    assert "co2_flux" not in out and "wind_speed" not in out
    assert len(out.data_vars) == len(brinora.RESULT_NAMES) - 4 + 1
    for name in out.data_vars:
        np.testing.assert_array_equal(out[name].values, reference[name])
    assert out.status.values[0, 0, 0] == brinora.STATUS_MESSAGES.index(
        "refused: the salinity is not a number")
    assert np.isnan(out.ph.values[0, 0, 0]) and not np.isnan(out.ph.values[0, 0, 3])


def test_attributes():
    out = brinora.xarray.compute(small_grid(), **ARGS, **OPTIONS)
    assert out.ph.attrs["standard_name"] == "sea_water_ph_reported_on_total_scale"
    assert out.pco2.attrs["units"] == "uatm"
    assert out.omega_aragonite.attrs["long_name"] == "saturation state of aragonite at input conditions"
    assert "standard_name" not in out.omega_aragonite.attrs
    assert out.attrs["constants"] == "10: Millero et al. (2002) pK2 corrected for fCO2"
    assert out.attrs["brinora_version"] == brinora.__version__
    assert out.status.attrs["flag_meanings"].split()[0] == "computed"
    free = brinora.xarray.compute(small_grid(), **ARGS, constants=10, ph_scale="free")
    assert "standard_name" not in free.ph.attrs


def test_lazy_until_compute(monkeypatch):
    import dask

    calls = []
    real = brinora.compute

    def counting(*args, **kwargs):
        calls.append(np.shape(kwargs.get("salinity")))
        return real(*args, **kwargs)

    monkeypatch.setattr(brinora, "compute", counting)
    ds = small_grid().chunk({"lev": 1, "lat": 9})
    out = brinora.xarray.compute(ds, **ARGS, results=["ph", "pco2", "omega_aragonite"], **OPTIONS)
    assert calls == []
    assert out.ph.chunks == ((1, 1, 1, 1), (9, 9), (36,))
    with dask.config.set(scheduler="synchronous"):
        computed = out.compute()
    assert len(calls) == 8  # one call per chunk, each on one chunk only
    assert all(shape == (1, 9, 36) for shape in calls)
    reference = _eager_reference(small_grid())
    np.testing.assert_array_equal(computed.omega_aragonite.values, reference["omega_aragonite"])


def test_bad_calls():
    ds = small_grid()
    with pytest.raises(ValueError, match="exactly two"):
        brinora.xarray.compute(ds, ta="talk")
    with pytest.raises(ValueError, match="no variable 'dic'"):
        brinora.xarray.compute(ds, ta="talk", tco2="dic")
    with pytest.raises(ValueError, match="unknown constants set"):
        brinora.xarray.compute(ds, ta="talk", tco2="dissic", constants="Nobody")


def test_distributed_local_cluster_equals_eager(tmp_path):
    """Two worker processes compute the same numbers, element for element."""
    distributed = pytest.importorskip("distributed")
    ds = small_grid(nlev=6)
    reference = brinora.xarray.compute(ds, **ARGS, **OPTIONS)
    lazy = brinora.xarray.compute(ds.chunk({"lev": 2, "lat": 9}), **ARGS, **OPTIONS)
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  scheduler_port=0, dashboard_address=None,
                                  local_directory=str(tmp_path), death_timeout=120) as cluster:
        with distributed.Client(cluster, timeout=120) as client:
            client.wait_for_workers(2, timeout=120)
            result = lazy.compute()
            workers = client.run(lambda: __import__("os").getpid())
    assert len(set(workers.values())) == 2
    assert len(result.data_vars) == 40
    for name in result.data_vars:
        np.testing.assert_array_equal(result[name].values, reference[name].values)
