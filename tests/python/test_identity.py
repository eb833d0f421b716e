"""The module's numbers are the program's numbers, to the bit."""

import subprocess

import numpy as np
import pytest

import brinora
from samples import INPUTS, OPTIONS, PAIRS, number_text, random_samples

_CLI_FLAGS = {"salinity": "--salinity", "temperature": "--temperature", "pressure": "--pressure",
              "phosphate": "--phosphate", "silicate": "--silicate",
              "temperature_out": "--out-temperature", "pressure_out": "--out-pressure",
              "ta": "--ta", "tco2": "--tco2", "ph": "--ph", "fco2": "--fco2", "pco2": "--pco2",
              "pco2_air": "--pco2-air", "wind_speed": "--wind"}

# Board slot of every result of the module.
_RESULT_SLOTS = dict(zip(brinora.RESULT_NAMES, [30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41,
                                                 42, 43, 44, 45, 46, 47, 48, 49, 50, 69, 70, 52,
                                                 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63, 64,
                                                 65, 66, 67, 71, 72, 23, 24]))


def _bits(values):
    return np.ascontiguousarray(values, dtype=np.float32).view(np.uint32)


def _calc_board(cli, options, inputs):
    """The board that `brinora calc --board` prints, or None when refused."""
    args = [str(cli), "calc", "--board", "--constants", str(options[0]), "--khso4",
            str(options[1]), "--ph-scale", str(options[2]), "--flux", str(options[3])]
    for name, value in inputs.items():
        args += [_CLI_FLAGS[name], number_text(value)]
    run = subprocess.run(args, capture_output=True, text=True, timeout=60)
    if run.returncode != 0:
        assert "refused" in run.stderr, run.stderr
        return None
    board = np.zeros(100, np.float32)
    for line in run.stdout.splitlines():
        slot, value = line.split()
        board[int(slot)] = np.float32(float(value))
    return board


def test_result_slots_cover_every_result():
    assert set(_RESULT_SLOTS) == set(brinora.RESULT_NAMES)
    assert len(brinora.RESULT_NAMES) == 43


def test_command_line_board_bit_identical(cli):
    """A few hundred samples, each run through `brinora calc --board`."""
    rng = np.random.default_rng(20240611)
    checked = 0
    for index in range(288):
        options = OPTIONS[(index * 37) % len(OPTIONS)]
        pair = PAIRS[index % len(PAIRS)]
        sample = {k: v[0] for k, v in random_samples(rng, 1, pair).items()}
        if index % 48 == 5:
            sample["salinity"] = -999.0
        if index % 48 == 7:
            sample[pair[1]] = -5.0
        board = _calc_board(cli, options, sample)
        result = brinora.compute(**sample, constants=options[0], khso4=options[1],
                                 ph_scale=options[2], flux=options[3], validate=False, threads=1)
        if board is None:
            assert result["status"] != 0
            assert all(np.isnan(result[name]) for name in brinora.RESULT_NAMES)
            continue
        # A sample with a NaN result has a status of its own, not 0.
        some_nan = any(np.isnan(board[slot]) for slot in _RESULT_SLOTS.values())
        assert result["status"] == (brinora.NO_NUMBER if some_nan else 0)
        for name, slot in _RESULT_SLOTS.items():
            # %.9g prints every float exactly; NaN only by its sign.
            if np.isnan(board[slot]):
                assert np.isnan(result[name]), (name, sample, options)
            else:
                assert _bits(result[name]) == _bits(board[slot]), (name, sample, options)
        checked += 1
    assert checked >= 270


def test_hundred_thousand_samples_bit_identical(board_driver):
    """10^5 random samples over all 14 constant sets, both KHSO4 constants,
    4 pH scales, 3 flux formulas and 9 input pairs, against a driver that
    reads number text and fills the board as `brinora calc` does."""
    rng = np.random.default_rng(7)
    per_group = 34
    lines, expected_order = [], []
    module_results = []
    for group, options in enumerate(OPTIONS):
        for pair in PAIRS:
            samples = random_samples(rng, per_group, pair)
            if group % 50 == 0:  # some refusals and missing-value marks
                samples["salinity"][0] = -999.0
                samples["temperature"][1] = -9.0
                samples[pair[0]][2] = -1.5
                samples["pressure"][3] = -999.0
            result = brinora.compute(**samples, constants=options[0], khso4=options[1],
                                     ph_scale=options[2], flux=options[3], validate=False)
            module_results.append(result)
            texts = [samples.get(name, np.zeros(per_group)) for name in INPUTS]
            prefix = "%d %d %d %d " % options
            for i in range(per_group):
                lines.append(prefix + " ".join(number_text(t[i]) for t in texts))
    assert len(lines) >= 100_000
    run = subprocess.run([str(board_driver)], input="\n".join(lines).encode() + b"\n",
                         capture_output=True, timeout=300, check=True)
    records = np.frombuffer(run.stdout, dtype=np.dtype([("computed", "u1"), ("board", "<f4", 100)]))
    assert len(records) == len(lines)
    status = np.concatenate([r["status"] for r in module_results])
    computed = (status == 0) | (status == brinora.NO_NUMBER)
    np.testing.assert_array_equal(computed, records["computed"] == 1)
    # NO_NUMBER exactly where the program's board has a NaN result.
    board_nan = np.isnan(records["board"][:, list(_RESULT_SLOTS.values())]).any(axis=1)
    np.testing.assert_array_equal(status == brinora.NO_NUMBER, computed & board_nan)
    assert 0 < np.count_nonzero(board_nan & computed) < 100
    assert computed.sum() > 0.99 * len(lines)
    for name, slot in _RESULT_SLOTS.items():
        ours = np.concatenate([r[name] for r in module_results])[computed]
        theirs = records["board"][computed, slot]
        mismatch = np.flatnonzero(_bits(ours) != _bits(theirs))
        assert mismatch.size == 0, (name, mismatch[:5], ours[mismatch[:5]], theirs[mismatch[:5]])
