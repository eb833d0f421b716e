// The carbonate calculation in double precision on any number type: the
// pair solvers, the alkalinity partition, the Revelle factor, the saturation
// states, xCO2 and the air-sea flux, with the formulas of the single-precision
// solvers (solvers/) and driver (engine/).
//
// Derivatives of the iterative pH solves come from implicit differentiation
// at the converged root: the root pH* of F(pH, p) = 0 is found by Newton's
// method on plain doubles, and its gradient is dpH/dp = -(dF/dp)/(dF/dpH),
// with dF/dp from one evaluation of F on dual numbers at the root and dF/dpH
// exact (a one-direction dual). Every other step is differentiated by
// carrying the dual numbers through it.
#include "uncertainty/carbonate_ad.h"

#include <cmath>
#include <numbers>
#include <type_traits>

namespace brinora::uncertainty {
namespace {

using std::exp;
using std::log;
using std::pow;
using std::sqrt;
using ad::exp;
using ad::log;
using ad::pow;
using ad::sqrt;
using ad::value;

constexpr double kLn10 = std::numbers::ln10;
// Record units to chemistry units: micromol/kg to mol/kg, microatm to atm.
constexpr double kMicro = 1e6;
// Missing-value marks of the conditions.
constexpr double kMissing9 = -9.0, kMissing999 = -999.0;
// TC step of the Revelle factor: 1 micromol/kg, as the single-precision float 1e-6f.
constexpr double kRevelleStep = static_cast<double>(1e-6f);
// The constants set that counts phosphate alkalinity outside TA (GEOSECS).
constexpr int kGeosecsPhosphateSet = 7;

bool IsMark(double x) { return x == kMissing9 || x == kMissing999; }

// The number type of the constants: doubles for values, three-direction duals
// (salinity, temperature, pressure) when derivatives are carried.
template <class R>
using ConstantsNumber = std::conditional_t<std::is_same_v<R, double>, double, ad::Dual<3>>;

// A constant of the three-direction constants routine as a full dual, by the
// chain rule through the salinity, temperature and pressure used.
template <class R, class C>
R Lift(const C& c, const R& S, const R& T, const R& P) {
    if constexpr (std::is_same_v<R, double>) {
        return c;
    } else {
        R r(c.v);
        for (std::size_t i = 0; i < r.d.size(); ++i) r.d[i] = c.d[0] * S.d[i] + c.d[1] * T.d[i] + c.d[2] * P.d[i];
        return r;
    }
}

// 10^-offset: the factor of a constant perturbed by `offset` pK units.
template <class R>
R TenToMinus(const R& offset) {
    if (value(offset) == 0.0) {
        if constexpr (std::is_same_v<R, double>) {
            return 1.0;
        } else {
            return ad::chain(offset, 1.0, -kLn10);
        }
    }
    return pow(10.0, -offset);
}

// Everything the solvers read at one set of conditions.
template <class R>
struct Chemistry {
    ConditionConstants<R> k;
    R TP, TSi;   // mol/kg-SW
    R TempC;     // deg C, for the flux
};

template <class R>
Chemistry<R> ChemistryAt(const ChemistryOptions& options, const R& S, const R& TempC, const R& Pdbar,
                         const R& TP, const R& TSi, const std::array<R, kSourceCount>& src) {
    using C = ConstantsNumber<R>;
    C Sc, Tc, Pc;
    if constexpr (std::is_same_v<C, double>) {
        Sc = S, Tc = TempC, Pc = Pdbar;
    } else {
        Sc = C::variable(value(S), 0);
        Tc = C::variable(value(TempC), 1);
        Pc = C::variable(value(Pdbar), 2);
    }
    const ConditionConstants<C> c = ConstantsAt(options, Sc, Tc, Pc);
    Chemistry<R> h;
    auto lift = [&](const C& x) { return Lift<R, C>(x, S, TempC, Pdbar); };
    ConditionConstants<R>& k = h.k;
    // The constants as the calculation uses them, each perturbed in pK units.
    k.K0 = lift(c.K0) * TenToMinus(src[kpK0]);
    k.K1 = lift(c.K1) * TenToMinus(src[kpK1]);
    k.K2 = lift(c.K2) * TenToMinus(src[kpK2]);
    k.KW = lift(c.KW) * TenToMinus(src[kpKW]);
    k.KB = lift(c.KB) * TenToMinus(src[kpKB]);
    k.KF = lift(c.KF) * TenToMinus(src[kpKF]);
    k.KS = lift(c.KS) * TenToMinus(src[kpKS]);
    k.KP1 = lift(c.KP1) * TenToMinus(src[kpKP1]);
    k.KP2 = lift(c.KP2) * TenToMinus(src[kpKP2]);
    k.KP3 = lift(c.KP3) * TenToMinus(src[kpKP3]);
    k.KSi = lift(c.KSi) * TenToMinus(src[kpKSi]);
    k.KCa = lift(c.KCa) * TenToMinus(src[kpKspC]);
    k.KAr = lift(c.KAr) * TenToMinus(src[kpKspA]);
    k.TB = lift(c.TB) * (1.0 + src[kTotalBoron]);
    k.TF = lift(c.TF);
    k.TS = lift(c.TS);
    k.fH = lift(c.fH);
    k.FugFac = lift(c.FugFac);
    k.VPFac = lift(c.VPFac);
    k.Ca = lift(c.Ca);
    h.TP = TP;
    h.TSi = TSi;
    h.TempC = TempC;
    return h;
}

// The non-carbonate alkalinity terms at H [mol/kg-SW] (number type of H),
// with the constants of any number type. Units: mol/kg-SW.
template <class T, class R>
struct NonCarbonate {
    T BAlk, OH, PAlk, SiAlk, Hfree, HSO4, HF;
};

template <class T, class R>
NonCarbonate<T, R> NonCarbonateTerms(const T& H, const Chemistry<R>& h) {
    const ConditionConstants<R>& k = h.k;
    NonCarbonate<T, R> a;
    a.BAlk = k.TB * k.KB / (k.KB + H);
    a.OH = k.KW / H;
    const R KP1KP2 = k.KP1 * k.KP2;
    const R KP1KP2KP3 = KP1KP2 * k.KP3;
    const T HH = H * H;
    a.PAlk = h.TP * (KP1KP2 * H + 2.0 * KP1KP2KP3 - HH * H) / (HH * H + k.KP1 * HH + KP1KP2 * H + KP1KP2KP3);
    a.SiAlk = h.TSi * k.KSi / (k.KSi + H);
    a.Hfree = H / (1.0 + k.TS / k.KS);
    a.HSO4 = k.TS / (1.0 + k.KS / a.Hfree);
    a.HF = k.TF / (1.0 + k.KF / a.Hfree);
    return a;
}

// TA minus the modelled alkalinity at pH, for TA and TC given (the TA-TC
// residual) or for TA and fCO2 given (the TA-fCO2 residual). mol/kg-SW.
template <class T, class R>
T ResidualTATC(const T& pH, const Chemistry<R>& h, const R& TA, const R& TC) {
    const T H = pow(10.0, -pH);
    const ConditionConstants<R>& k = h.k;
    const T CAlk = TC * k.K1 * (H + 2.0 * k.K2) / (H * H + k.K1 * H + k.K1 * k.K2);
    const NonCarbonate<T, R> a = NonCarbonateTerms(H, h);
    return TA - CAlk - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
}

template <class T, class R>
T ResidualTAfCO2(const T& pH, const Chemistry<R>& h, const R& TA, const R& fCO2) {
    const T H = pow(10.0, -pH);
    const ConditionConstants<R>& k = h.k;
    const R K0K1fCO2 = k.K0 * k.K1 * fCO2;
    const T CAlk = K0K1fCO2 / H + 2.0 * K0K1fCO2 * k.K2 / (H * H);
    const NonCarbonate<T, R> a = NonCarbonateTerms(H, h);
    return TA - CAlk - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
}

// The values of a chemistry of duals (or doubles).
template <class R>
Chemistry<double> Values(const Chemistry<R>& h) {
    if constexpr (std::is_same_v<R, double>) {
        return h;
    } else {
        Chemistry<double> v;
        const ConditionConstants<R>& k = h.k;
        v.k = {k.K0.v, k.K1.v, k.K2.v, k.KW.v, k.KB.v, k.KF.v, k.KS.v, k.KP1.v, k.KP2.v, k.KP3.v, k.KSi.v,
               k.TB.v, k.TF.v, k.TS.v, k.fH.v, k.FugFac.v, k.VPFac.v, k.Ca.v, k.KCa.v, k.KAr.v};
        v.TP = h.TP.v;
        v.TSi = h.TSi.v;
        v.TempC = h.TempC.v;
        return v;
    }
}

// Root of `residual` in pH by Newton's method with the exact slope. Start:
// pH 8. Step: -F/F', halved while larger than 1 pH unit. Stop: a step below
// 1e-12 pH units; cap: 200 steps (converging samples take under 10), after
// which the solve has failed (NaN). Returns the root and sets `slope` to
// dF/dpH there.
template <class F>
double NewtonRoot(F residual, double& slope) {
    using D1 = ad::Dual<1>;
    double pH = 8.0;
    for (int step = 0; step < 200; ++step) {
        const D1 f = residual(D1::variable(pH, 0));
        double delta = -f.v / f.d[0];
        if (!std::isfinite(delta)) break;
        while (std::fabs(delta) > 1.0) delta /= 2.0;
        pH += delta;
        if (std::fabs(delta) < 1e-12) {
            slope = residual(D1::variable(pH, 0)).d[0];
            return pH;
        }
    }
    return std::nan("");
}

// The root as a number of type R: its value, and the gradient -(dF/dp)/(dF/dpH)
// from the residual evaluated on R at the root.
template <class R, class F>
R ImplicitRoot(double root, double slope, F residualOnR) {
    if constexpr (std::is_same_v<R, double>) {
        return root;
    } else {
        const R f = residualOnR(R(root));
        R r(root);
        for (std::size_t i = 0; i < r.d.size(); ++i) r.d[i] = -f.d[i] / slope;
        return r;
    }
}

// pH from TA and TC [mol/kg-SW].
template <class R>
R SolvepHTATC(const Chemistry<R>& h, const R& TA, const R& TC) {
    const Chemistry<double> v = Values(h);
    const double TAv = value(TA), TCv = value(TC);
    double slope = 0.0;
    const double root = NewtonRoot([&](const ad::Dual<1>& pH) { return ResidualTATC(pH, v, TAv, TCv); }, slope);
    return ImplicitRoot<R>(root, slope, [&](const R& pH) { return ResidualTATC(pH, h, TA, TC); });
}

// pH from TA [mol/kg-SW] and fCO2 [atm].
template <class R>
R SolvepHTAfCO2(const Chemistry<R>& h, const R& TA, const R& fCO2) {
    const Chemistry<double> v = Values(h);
    const double TAv = value(TA), fv = value(fCO2);
    double slope = 0.0;
    const double root = NewtonRoot([&](const ad::Dual<1>& pH) { return ResidualTAfCO2(pH, v, TAv, fv); }, slope);
    return ImplicitRoot<R>(root, slope, [&](const R& pH) { return ResidualTAfCO2(pH, h, TA, fCO2); });
}

template <class R>
R Denominator(const R& H, const ConditionConstants<R>& k) {
    return H * H + k.K1 * H + k.K1 * k.K2;
}

// TA from TC and pH; TC from TA and pH; TC from pH and fCO2; fCO2 from TC and pH.
template <class R>
R TAfromTCpH(const Chemistry<R>& h, const R& TC, const R& pH) {
    const R H = pow(10.0, -pH);
    const R CAlk = TC * h.k.K1 * (H + 2.0 * h.k.K2) / Denominator(H, h.k);
    const NonCarbonate<R, R> a = NonCarbonateTerms(H, h);
    return CAlk + a.BAlk + a.OH + a.PAlk + a.SiAlk - a.Hfree - a.HSO4 - a.HF;
}
template <class R>
R TCfromTApH(const Chemistry<R>& h, const R& TA, const R& pH) {
    const R H = pow(10.0, -pH);
    const NonCarbonate<R, R> a = NonCarbonateTerms(H, h);
    const R CAlk = TA - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
    return CAlk * Denominator(H, h.k) / (h.k.K1 * (H + 2.0 * h.k.K2));
}
template <class R>
R TCfrompHfCO2(const Chemistry<R>& h, const R& pH, const R& fCO2) {
    const R H = pow(10.0, -pH);
    return h.k.K0 * fCO2 * Denominator(H, h.k) / (H * H);
}
template <class R>
R fCO2fromTCpH(const Chemistry<R>& h, const R& TC, const R& pH) {
    const R H = pow(10.0, -pH);
    return TC * H * H / Denominator(H, h.k) / h.k.K0;
}

// Revelle factor: the centred difference of fCO2 in TC at fixed TA of the
// record (1 micromol/kg either side, reference TC the lower one), here on
// double-precision solves.
template <class R>
R RevelleFactor(const Chemistry<R>& h, const R& TAused, const R& TC) {
    if (value(TC) == 0.0) return R(0.0);
    const R TCplus = TC + kRevelleStep;
    const R TCminus = TC - kRevelleStep;
    const R fplus = fCO2fromTCpH(h, TCplus, SolvepHTATC(h, TAused, TCplus));
    const R fminus = fCO2fromTCpH(h, TCminus, SolvepHTATC(h, TAused, TCminus));
    return ((fplus - fminus) / kRevelleStep) / ((fplus + fminus) / TCminus);
}

// Air-sea flux [mmol m-2 d-1] for pCO2 of water and air [microatm]: transfer
// velocity (Wanninkhof 1992, Nightingale et al. 2000 or Ho et al. 2006, with
// the Schmidt number of Wanninkhof 1992) times the solubility K0 per volume
// (density of Millero and Poisson 1981) times the pCO2 difference.
template <class R>
R Flux(int code, const Chemistry<R>& h, const R& S, const R& u, const R& pCO2air, const R& pCO2water) {
    const R& T = h.TempC;
    const R T2 = T * T, T3 = T2 * T, T4 = T3 * T, T5 = T4 * T;
    const R Sc = 2073.1 - 125.62 * T + 3.6276 * T2 - 0.043219 * T3;
    R k;
    if (code == 0) {
        k = 0.31 * u * u * sqrt(660.0 / Sc) * 0.24;
    } else if (code == 1) {
        k = (0.333 * u + 0.222 * u * u) / sqrt(Sc / 600.0) * 0.24;
    } else if (code == 2) {
        k = 0.266 * u * u / sqrt(Sc / 600.0) * 0.24;
    } else {
        return R(0.0);
    }
    const R rho = 999.842594 + 0.06793952 * T - 0.00909529 * T2 + 0.0001001685 * T3 - 1.120083e-06 * T4 +
                  6.536332e-09 * T5 +
                  (0.824493 - 0.0040899 * T + 7.6438e-05 * T2 - 8.2476e-07 * T3 + 5.3875e-09 * T4) * S +
                  (-0.00572466 + 0.00010227 * T - 1.6546e-06 * T2) * pow(S, 1.5) + 0.00048314 * S * S;
    return k * (h.k.K0 * 1000.0 * rho) * ((pCO2water - pCO2air) * 1e-6);
}

// The quantities of one set of conditions from TA, TC, pH and pCO2, written
// from position `first` on (pH, [H+], fCO2, pCO2, then, skipping TA and TCO2
// at output conditions, the species, Revelle factor, saturation states, xCO2
// and flux).
template <class R>
void Derived(int whichKs, int fluxCode, const Chemistry<R>& h, const R& S, const R& TA, const R& TC, const R& pH,
             const R& fCO2, const R& pCO2, const R& wind, const R& pCO2air, bool input, R* q) {
    const ConditionConstants<R>& k = h.k;
    const R H = pow(10.0, -pH);
    const R D = Denominator(H, k);
    const R HCO3 = TC * k.K1 * H / D;
    const R CO3 = TC * k.K1 * k.K2 / D;
    const R CO2 = TC * H * H / D;
    const NonCarbonate<R, R> a = NonCarbonateTerms(H, h);
    const R PAlk = whichKs == kGeosecsPhosphateSet ? a.PAlk + h.TP : a.PAlk;
    const R TAused = whichKs == kGeosecsPhosphateSet ? TA - h.TP : TA;
    std::size_t i = 0;
    q[i++] = pH;
    q[i++] = H * kMicro;
    q[i++] = fCO2 * kMicro;
    q[i++] = pCO2 * kMicro;
    if (input) {
        q[i++] = TA * kMicro;
        q[i++] = TC * kMicro;
    }
    q[i++] = HCO3 * kMicro;
    q[i++] = CO3 * kMicro;
    q[i++] = CO2 * kMicro;
    q[i++] = a.BAlk * kMicro;
    q[i++] = a.OH * kMicro;
    q[i++] = PAlk * kMicro;
    q[i++] = a.SiAlk * kMicro;
    q[i++] = RevelleFactor(h, TAused, TC);
    q[i++] = CO3 * k.Ca / k.KCa;
    q[i++] = CO3 * k.Ca / k.KAr;
    q[i++] = pCO2 / k.VPFac * kMicro;
    q[i++] = Flux(fluxCode, h, S, wind, pCO2air, pCO2 * kMicro);
}

template <class R>
Outcome Run(const ChemistryOptions& options, const Sample& sample, std::array<R, kQuantityCount>& out) {
    const int whichKs = options.whichKs;
    std::array<R, kSourceCount> src;
    for (std::size_t i = 0; i < kSourceCount; ++i) {
        if constexpr (std::is_same_v<R, double>) {
            src[i] = sample.x[i];
        } else {
            src[i] = R::variable(sample.x[i], i);
        }
    }
    const auto& x = sample.x;
    if (IsMark(x[kSalinity]) || IsMark(x[kTemperature])) return Outcome::kRefused;
    if (x[kFirstParameter] < 0.0 || x[kSecondParameter] < 0.0) return Outcome::kRefused;
    // Conditions at a mark count as 0; output conditions of 0 repeat the input ones.
    const auto condition = [&](Source s) { return IsMark(x[s]) ? R(0.0) : src[s]; };
    const R S = src[kSalinity], TempC = src[kTemperature], Pdbar = condition(kPressure);
    const R TempCOut = x[kTemperatureOut] == 0.0 ? TempC : condition(kTemperatureOut);
    const R PdbarOut = x[kPressureOut] == 0.0 ? Pdbar : condition(kPressureOut);

    // Set 8 is the freshwater set (no salinity, no nutrients); set 6 carries no nutrients.
    const bool noNutrients = whichKs == 8 || whichKs == 6;
    const R SalChem = whichKs == 8 ? R(0.0) : S;
    const R TP = noNutrients ? R(0.0) : condition(kPhosphate) / kMicro;
    const R TSi = noNutrients ? R(0.0) : condition(kSilicate) / kMicro;
    const R wind = src[kWindSpeed], pCO2air = src[kpCO2Air];

    const Chemistry<R> in = ChemistryAt(options, SalChem, TempC, Pdbar, TP, TSi, src);
    const bool outside = whichKs == kGeosecsPhosphateSet;

    // The pair, in chemistry units.
    R TA(0.0), TC(0.0), pH(0.0), fCO2(0.0), pCO2(0.0);
    const auto take = [&](int code, const R& v) {
        if (code == 1) TA = v / kMicro;
        if (code == 2) TC = v / kMicro;
        if (code == 3) pH = v;
        if (code == 4) fCO2 = v / kMicro;
        if (code == 5) pCO2 = v / kMicro;
    };
    take(sample.first, src[kFirstParameter]);
    take(sample.second, src[kSecondParameter]);
    if (sample.first == 4 || sample.second == 4) pCO2 = fCO2 / in.k.FugFac;
    if (sample.first == 5 || sample.second == 5) fCO2 = pCO2 * in.k.FugFac;
    const R TPoutside = outside ? TP : R(0.0);

    switch (10 * sample.first + sample.second) {
        case 12:
            pH = SolvepHTATC(in, TA - TPoutside, TC);
            fCO2 = fCO2fromTCpH(in, TC, pH);
            pCO2 = fCO2 / in.k.FugFac;
            break;
        case 13:
            TC = TCfromTApH(in, TA - TPoutside, pH);
            fCO2 = fCO2fromTCpH(in, TC, pH);
            pCO2 = fCO2 / in.k.FugFac;
            break;
        case 14:
        case 15:
            pH = SolvepHTAfCO2(in, TA - TPoutside, fCO2);
            TC = TCfromTApH(in, TA - TPoutside, pH);
            break;
        case 23:
            TA = TAfromTCpH(in, TC, pH) + TPoutside;
            fCO2 = fCO2fromTCpH(in, TC, pH);
            pCO2 = fCO2 / in.k.FugFac;
            break;
        case 24:
        case 25: {
            // The quadratic in H for the fraction X of TC that is dissolved CO2.
            const R X = in.k.K0 * fCO2 / TC;
            if (value(X) >= 1.0) return Outcome::kNoSolution;
            const R K1X = in.k.K1 * X;
            const R H = 0.5 * (K1X + sqrt(K1X * K1X + 4.0 * (1.0 - X) * in.k.K1 * in.k.K2 * X)) / (1.0 - X);
            if (value(H) <= 0.0) return Outcome::kNoSolution;
            pH = -log(H) / kLn10;
            TA = TAfromTCpH(in, TC, pH) + TPoutside;
            break;
        }
        case 34:
        case 35:
            TC = TCfrompHfCO2(in, pH, fCO2);
            TA = TAfromTCpH(in, TC, pH) + TPoutside;
            break;
        default:
            return Outcome::kRefused;
    }
    if (!std::isfinite(value(pH))) return Outcome::kNoSolution;
    Derived(whichKs, options.fluxCode, in, SalChem, TA, TC, pH, fCO2, pCO2, wind, pCO2air, true, &out[0]);

    // Output conditions, TA and TC held.
    const Chemistry<R> outChem = ChemistryAt(options, SalChem, TempCOut, PdbarOut, TP, TSi, src);
    const R pHOut = SolvepHTATC(outChem, TA - TPoutside, TC);
    if (!std::isfinite(value(pHOut))) return Outcome::kNoSolution;
    const R fCO2Out = fCO2fromTCpH(outChem, TC, pHOut);
    const R pCO2Out = fCO2Out / outChem.k.FugFac;
    Derived(whichKs, options.fluxCode, outChem, SalChem, TA, TC, pHOut, fCO2Out, pCO2Out, wind, pCO2air, false,
            &out[kFirstOutQuantity]);
    return Outcome::kComputed;
}

}  // namespace

Outcome EvaluateSample(const ChemistryOptions& options, const Sample& sample, std::array<double, kQuantityCount>& out) {
    return Run<double>(options, sample, out);
}

Outcome DifferentiateSample(const ChemistryOptions& options, const Sample& sample,
                            std::array<Gradient, kQuantityCount>& out) {
    return Run<Gradient>(options, sample, out);
}

}  // namespace brinora::uncertainty
