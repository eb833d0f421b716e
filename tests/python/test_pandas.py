"""brinora.pandas: records equal to those of `brinora batch`, and dask.dataframe."""

import subprocess

import numpy as np
import pandas as pd
import pytest

import brinora
import brinora.pandas as bp
from samples import PAIRS, random_samples

OPTIONS = dict(constants=9, khso4=2, ph_scale=2, flux=3)
_FIELDS = ["salinity", "temperature", "pressure", "phosphate", "silicate", "temperature_out",
           "pressure_out", "ta", "tco2", "ph", "fco2", "pco2", "pco2_air", "wind_speed"]


def _batch_file(path, rows=360, seed=11):
    rng = np.random.default_rng(seed)
    lines = [",".join(bp.BATCH_COLUMNS)]
    for i in range(rows):
        pair = PAIRS[i % len(PAIRS)]
        sample = {k: v[0] for k, v in random_samples(rng, 1, pair).items()}
        fields = []
        for name in _FIELDS:
            value = sample.get(name)
            # Zeros of optional inputs are sometimes written, sometimes left empty.
            blank = value is None or (value == 0 and i % 2 and name not in ("salinity", "temperature"))
            fields.append("" if blank else repr(float(value)))
        if i % 40 == 3:
            fields[9] = ""  # only one carbonate value: passes the batch check
        sample_id = "" if i % 50 == 7 else str(i + 1)
        lines.append(",".join([sample_id, f"st{i}", "06:40", "04/12/2023", "31.5", "-64.2",
                               *fields, f"comment {i}\r" if i % 3 == 0 else f"c{i}"]))
    path.write_text("\n".join(lines) + "\n")


def test_records_equal_batch_output(tmp_path, cli):
    source = tmp_path / "in.csv"
    target = tmp_path / "out.csv"
    _batch_file(source)
    subprocess.run([str(cli), "batch", str(source), "-o", str(target), "--force",
                    *[f"--{k.replace('_', '-')}={v}" for k, v in OPTIONS.items()]],
                   check=True, capture_output=True, timeout=120)
    theirs = pd.read_csv(target, dtype=str, keep_default_na=False)
    ours = bp.compute(bp.read_batch_csv(source), **OPTIONS)
    assert [c.strip() for c in theirs.columns] == bp.RECORD_COLUMNS
    assert " KHSO4" in theirs.columns and "KHSO4" in ours.columns
    assert len(ours) == len(theirs) == 360 - 8
    assert (ours["Status"] == "").all()
    for i, name in enumerate(bp.RECORD_COLUMNS):
        if 6 <= i <= 46:
            text = ["" if np.isnan(v) else "%.3f" % float(v) for v in ours[name]]
            assert text == list(theirs[name]), name
        else:
            assert list(ours[name]) == list(theirs[name if name in theirs else " " + name]), name


def test_bad_rows_are_marked_not_fatal():
    df = pd.DataFrame([["1", "a", "", "", "", "", 35.0, 10.0] + [np.nan] * 5 + [2300.0, 2000.0]
                       + [np.nan] * 5 + ["x"],
                       ["2", "b", "", "", "", "", np.nan, 10.0] + [np.nan] * 5 + [2300.0, 2000.0]
                       + [np.nan] * 5 + ["y"],
                       ["3", "c", "", "", "", "", 35.0, 10.0] + [np.nan] * 5 + [2300.0, 2000.0,
                                                                               8.0, 400.0]
                       + [np.nan] * 3 + ["z"],
                       ["4", "d", "", "", "", "", -999.0, 10.0] + [np.nan] * 5 + [2300.0, 2000.0]
                       + [np.nan] * 5 + ["w"]],
                      columns=bp.BATCH_COLUMNS)
    out = bp.compute(df, **OPTIONS)
    assert list(out["Status"]) == [
        "", bp.SALINITY_MISSING, bp.PAIR_MISSING,
        "refused: the salinity is missing (-9 and -999 mark a missing value)"]
    assert not np.isnan(out["pH"].iloc[0])
    assert np.isnan(out["pH"].iloc[1]) and np.isnan(out["pH"].iloc[2])
    assert out["pH"].iloc[3] == 0.0  # the batch writes the reset board's zeros


def test_dask_dataframe_on_csv_files(tmp_path):
    dd = pytest.importorskip("dask.dataframe")
    for k in range(3):
        _batch_file(tmp_path / f"part{k}.csv", rows=90, seed=k)
    lazy = bp.compute_dask(str(tmp_path / "part*.csv"), **OPTIONS)
    assert lazy.npartitions == 3
    got = lazy.compute()
    expected = pd.concat([bp.compute(bp.read_batch_csv(tmp_path / f"part{k}.csv"), **OPTIONS)
                          for k in range(3)])
    assert list(got.columns) == list(expected.columns)
    for name in bp.RECORD_COLUMNS[6:47]:
        np.testing.assert_array_equal(got[name].to_numpy(), expected[name].to_numpy())
