"""brinora.sensitivities, brinora.uncertainty and brinora.buffers: the
published worked value, the mapping layout, broadcasting, identities of the
propagation, Monte Carlo against the linear result, and threads."""

import numpy as np
import pytest

import brinora
from brinora.uncertainty import BUFFER_NAMES, RESULTS, STANDARD, source_names

# The worked value of Orr et al. (2018)'s propagation from an independent
# package: S 35, T 18, TA 2300, DIC 2000, Lueker et al. (2000) constants
# (the default set), total scale, KHSO4 of Dickson (1990), u(TA) = u(DIC) =
# 2, u(S) = u(T) = 0.01, the standard constants; agreement within 0.5 %
# (Brinora's constant sets differ from that package's in small published
# coefficients; the results agree to 0.05 %).
WORKED = dict(salinity=35, temperature=18, ta=2300, tco2=2000)
WORKED_U = dict(u_ta=2, u_tco2=2, u_salinity=0.01, u_temperature=0.01)


def test_the_published_worked_value():
    u = brinora.uncertainty(**WORKED, **WORKED_U)
    assert float(u["ph"]) == pytest.approx(0.01190, rel=0.005)
    assert float(u["pco2"]) == pytest.approx(9.623, rel=0.005)
    assert float(u["carbonate"]) == pytest.approx(3.278, rel=0.005)
    assert float(u["omega_aragonite"]) == pytest.approx(0.1581, rel=0.005)
    d = brinora.sensitivities(**WORKED)
    assert float(d["ph"]["ta"]) == pytest.approx(1.5592e-3, rel=0.005)
    assert float(d["ph"]["tco2"]) == pytest.approx(-1.7154e-3, rel=0.005)
    assert float(d["pco2"]["temperature"]) == pytest.approx(12.42, rel=0.005)


def test_the_budget_names_pk2_as_the_largest_term_of_u_ph():
    u = brinora.uncertainty(**WORKED, **WORKED_U)
    budget = {source: float(value) for source, value in u.budget["ph"].items()}
    assert max(budget, key=budget.get) == "pk2"
    assert sum(b * b for b in budget.values()) == pytest.approx(float(u["ph"]) ** 2, rel=1e-12)


def test_names_follow_compute_and_the_pair():
    d = brinora.sensitivities(35, 18, ph=8.1, pco2=400)
    assert set(RESULTS) - {"hydrogen_ion", "hydrogen_ion_out"} <= set(brinora.RESULT_NAMES)
    assert list(d["ph"])[:2] == ["ph", "pco2"]
    assert {"salinity", "pk0", "pk1", "pk2", "pkb", "pkw", "pkspa", "pkspc", "bt"} <= set(d["carbonate"])
    # The given pH is the result pH: derivative 1 along itself, 0 along the rest.
    assert float(d["ph"]["ph"]) == pytest.approx(1.0, rel=1e-15)
    assert float(d["ph"]["pco2"]) == 0.0
    assert float(d["ph"]["pk1"]) == 0.0


def test_values_agree_with_compute():
    r = brinora.compute(35, 18, ta=2300, tco2=2000)
    u = brinora.uncertainty(**WORKED, **WORKED_U)
    for name in ("ph", "pco2", "carbonate", "omega_aragonite", "ph_out"):
        assert u.values[name] == pytest.approx(float(r[name]), rel=2e-5)


def test_broadcasting_and_per_sample_uncertainties():
    salinity = np.linspace(30, 36, 4)
    u = brinora.uncertainty(salinity, 18, ta=2300, tco2=[[2000], [2100], [2200]], u_ta=[[2], [3], [4]], u_tco2=2)
    assert u["ph"].shape == (3, 4)
    single = brinora.uncertainty(float(salinity[1]), 18, ta=2300, tco2=2100, u_ta=3, u_tco2=2)
    assert u["ph"][1, 1] == float(single["ph"])


def test_u_is_the_propagation_of_the_sensitivities():
    # u is formed on the sources of non-zero uncertainty only; the sum over
    # every source of the full derivatives squared gives the same number.
    d = brinora.sensitivities(**WORKED)
    u = brinora.uncertainty(**WORKED, **WORKED_U)
    given = {"ta": 2, "tco2": 2, "salinity": 0.01, "temperature": 0.01, **STANDARD}
    for name in ("ph", "pco2", "carbonate", "revelle_factor", "ph_out", "co2_flux"):
        total = sum((float(d[name][source]) * value) ** 2 for source, value in given.items())
        assert float(u[name]) == pytest.approx(np.sqrt(total), rel=1e-13)


def test_total_squared_is_inputs_squared_plus_constants_squared():
    total = brinora.uncertainty(**WORKED, **WORKED_U)
    inputs = brinora.uncertainty(**WORKED, **WORKED_U, u_constants=None)
    constants = brinora.uncertainty(**WORKED)
    for name in RESULTS:
        assert float(total[name]) ** 2 == pytest.approx(float(inputs[name]) ** 2 + float(constants[name]) ** 2,
                                                        rel=1e-12, abs=1e-300)


def test_correlation_and_covariance():
    d = brinora.sensitivities(**WORKED)
    none = brinora.uncertainty(**WORKED, u_ta=2, u_tco2=2, u_constants=None)
    half = brinora.uncertainty(**WORKED, u_ta=2, u_tco2=2, u_constants=None, correlation=0.5)
    cross = 2 * 0.5 * float(d["ph"]["ta"]) * float(d["ph"]["tco2"]) * 4
    assert float(half["ph"]) ** 2 == pytest.approx(float(none["ph"]) ** 2 + cross, rel=1e-12)
    names = source_names("ta", "tco2")
    matrix = np.zeros((len(names), len(names)))
    matrix[0, 0] = matrix[1, 1] = 4.0
    matrix[0, 1] = matrix[1, 0] = 2.0
    full = brinora.uncertainty(**WORKED, covariance=matrix)
    assert float(full["ph"]) == pytest.approx(float(half["ph"]), rel=1e-14)


def test_standard_set_is_that_of_orr_et_al_2018():
    assert STANDARD == {"pk0": 0.002, "pk1": 0.0075, "pk2": 0.015, "pkb": 0.01, "pkw": 0.01, "pkspa": 0.02,
                        "pkspc": 0.02, "pks": 0.0, "pkf": 0.0, "pkp1": 0.0, "pkp2": 0.0, "pkp3": 0.0,
                        "pksi": 0.0, "bt": 0.02}


def test_monte_carlo_agrees_with_the_linear_result_for_small_uncertainties():
    small = {key: value / 10 for key, value in WORKED_U.items()}
    constants = {key: value / 10 for key, value in STANDARD.items()}
    linear = brinora.uncertainty(**WORKED, **small, u_constants=constants)
    draws = 40000
    mc = brinora.uncertainty(**WORKED, **small, u_constants=constants, method="monte_carlo", draws=draws, seed=3)
    bound = 4 / np.sqrt(2 * (draws - 1))
    for name in ("ph", "pco2", "carbonate", "omega_aragonite", "revelle_factor", "ph_out"):
        assert float(mc[name]) / float(linear[name]) == pytest.approx(1.0, abs=bound)


def test_buffer_factors():
    b = brinora.buffers(**WORKED)
    assert set(b) == {*BUFFER_NAMES, *(name + "_out" for name in BUFFER_NAMES), "status"}
    # Takahashi et al. (1993): about 0.0423 per degC.
    assert float(b["dlnpco2_dt"]) == pytest.approx(0.0423, abs=0.001)
    # The Revelle factor from the derivative against the record's centred
    # difference, whose reference TCO2 is 1 umol/kg below the sample's.
    record = float(brinora.compute(**WORKED)["revelle_factor"])
    assert float(b["revelle_factor"]) * 1999 / 2000 == pytest.approx(record, rel=1e-3)
    assert float(b["gamma_dic"]) > 0 > float(b["gamma_alk"])


def test_threads_give_the_same_numbers():
    rng = np.random.default_rng(5)
    salinity = rng.uniform(30, 37, 3000)
    temperature = rng.uniform(0, 30, 3000)
    one = brinora.uncertainty(salinity, temperature, ta=2300, tco2=2000, u_ta=2, u_tco2=2, threads=1)
    four = brinora.uncertainty(salinity, temperature, ta=2300, tco2=2000, u_ta=2, u_tco2=2, threads=4)
    for name in RESULTS:
        np.testing.assert_array_equal(one[name], four[name])


def test_refused_and_unsolvable_samples_are_nan():
    u = brinora.uncertainty([-9, 35, 35], 18, tco2=2000, pco2=[400, 400, 1e9], u_tco2=2)
    assert list(u.status) == [1, 0, 2]
    assert np.isnan(u["ph"][0]) and np.isnan(u["ph"][2]) and not np.isnan(u["ph"][1])


def test_errors_name_the_problem():
    with pytest.raises(ValueError, match="exactly two of the carbonate parameters"):
        brinora.uncertainty(35, 18, ta=2300)
    with pytest.raises(ValueError, match="u_ph is given but ph is not one of the pair"):
        brinora.uncertainty(**WORKED, u_ph=0.01)
    with pytest.raises(ValueError, match="unknown constants pk9"):
        brinora.uncertainty(**WORKED, u_constants={"pk9": 0.1})
    with pytest.raises(ValueError, match="method is 'linear' or 'monte_carlo'"):
        brinora.uncertainty(**WORKED, method="bootstrap")
    # The checks of brinora.compute, from the one input preparation.
    with pytest.raises(ValueError, match="^pCO2air is required to calculate Air-Sea flux"):
        brinora.uncertainty(**WORKED, wind_speed=8)
    with pytest.raises(ValueError, match=r"^the input shapes do not broadcast together: salinity \(2,\), "
                       r"temperature \(3,\)$"):
        brinora.buffers([35, 34], [18, 17, 16], ta=2300, tco2=2000)
    with pytest.raises(ValueError, match="^threads must be at least 1, not 0$"):
        brinora.sensitivities(**WORKED, threads=0)


def test_the_examples_of_the_module_and_of_the_docs_run():
    import doctest
    import os
    import sys

    assert doctest.testmod(sys.modules["brinora.uncertainty"]).failed == 0
    source = os.environ.get("BRINORA_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
    result = doctest.testfile(os.path.join(source, "docs", "uncertainty.md"), module_relative=False)
    assert result.attempted >= 5 and result.failed == 0
