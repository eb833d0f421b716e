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
#include <optional>
#include <type_traits>

#include "uncertainty/chemistry_ad.h"

namespace brinora::uncertainty {
namespace {

using namespace detail;

// Record units to chemistry units: micromol/kg to mol/kg, microatm to atm.
constexpr double kMicro = 1e6;
// Missing-value marks of the conditions.
constexpr double kMissing9 = -9.0, kMissing999 = -999.0;
// TC step of the Revelle factor: 1 micromol/kg, as the single-precision float 1e-6f.
constexpr double kRevelleStep = static_cast<double>(1e-6f);
// The constants set that counts phosphate alkalinity outside TA (GEOSECS).
constexpr int kGeosecsPhosphateSet = 7;

bool IsMark(double x) { return x == kMissing9 || x == kMissing999; }


template <class R>
R Denominator(const R& H, const ConditionConstants<R>& k) {
    return H * H + k.K1 * H + k.K1 * k.K2;
}

// TA from TC and pH; TC from TA and pH; TC from pH and fCO2; fCO2 from TC and
// pH; each with Hknown = 10^-pH.
template <class R>
R TAfromTCpH(const Chemistry<R>& h, const R& TC, const R& pH, double Hknown) {
    const R H = TenToMinusKnown(pH, Hknown);
    const R CAlk = TC * h.k.K1 * (H + 2.0 * h.k.K2) / Denominator(H, h.k);
    const NonCarbonate<R> a = NonCarbonateTerms(H, h);
    return CAlk + a.BAlk + a.OH + a.PAlk + a.SiAlk - a.Hfree - a.HSO4 - a.HF;
}
template <class R>
R TCfromTApH(const Chemistry<R>& h, const R& TA, const R& pH, double Hknown) {
    const R H = TenToMinusKnown(pH, Hknown);
    const NonCarbonate<R> a = NonCarbonateTerms(H, h);
    const R CAlk = TA - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
    return CAlk * Denominator(H, h.k) / (h.k.K1 * (H + 2.0 * h.k.K2));
}
template <class R>
R TCfrompHfCO2(const Chemistry<R>& h, const R& pH, const R& fCO2, double Hknown) {
    const R H = TenToMinusKnown(pH, Hknown);
    return h.k.K0 * fCO2 * Denominator(H, h.k) / (H * H);
}
template <class R>
R fCO2fromTCpH(const Chemistry<R>& h, const R& TC, const R& pH, double Hknown) {
    return LocalOne(std::array<const R*, 5>{&TC, &pH, &h.k.K0, &h.k.K1, &h.k.K2}, [Hknown](const auto& v) {
        using T = Element<decltype(v)>;
        const T H = TenToMinusKnown(v[1], Hknown);
        return std::array<T, 1>{v[0] * H * H / (H * H + v[3] * H + v[3] * v[4]) / v[2]};
    });
}

// Partial derivatives of one result in quantities of the calculation,
// gathered by quantity (each in its own slot, summed in the order of its
// calls) and then turned into its gradient at once (one scaled addition of
// a gradient per quantity, in the order of the slots).
template <class R, std::size_t M>
struct Partials {
    std::array<const R*, M> x{};
    std::array<double, M> c;
    Partials() { c.fill(-0.0); }  // -0.0 + p is p for every p
    void add(std::size_t slot, double partial, const R& quantity) {
        x[slot] = &quantity;
        c[slot] += partial;
    }
    R gradient(double v) const {
        R r(v);
        for (std::size_t k = 0; k < M; ++k) AddScaled(r, c[k], *x[k]);
        return r;
    }
};

// The quantities of the Revelle factor's partial derivatives, in the order
// they first arrive.
enum RevelleQuantity : std::size_t { kRevelleTC, kRevelleK0, kRevelleK1, kRevelleK2, kRevelleTA, kRevelleNonCarbonate };
constexpr std::size_t kRevelleQuantities = kRevelleNonCarbonate + kNonCarbonateQuantities;

// The two pH solves of the Revelle factor at one set of conditions: TC plus
// and minus the step, TA held, each from the pH at TC (a few 1e-4 away).
struct RevelleRoots {
    std::array<double, 2> pH{std::nan(""), std::nan("")};
    std::array<double, 2> slope{0.0, 0.0};
    std::array<TermsAt, 2> last;  // those of each solve's last evaluation

    // The two solves on the conditions `v`, for TA and TC [mol/kg-SW].
    std::array<TATCSolve, 2> solves(const Chemistry<double>& v, double TA, double TC) {
        return {TATCSolve{&v, TA, TC + kRevelleStep, &last[0]}, TATCSolve{&v, TA, TC - kRevelleStep, &last[1]}};
    }
};

// The residuals of the Revelle factor's two solves at their start, from the
// terms there.
std::array<ad::Dual<1>, 2> RevelleStart(const TermsAt& start, const Chemistry<double>& v, double TA, double TC) {
    return {ResidualTATCWith(start.H, start.a, v, TA, TC + kRevelleStep),
            ResidualTATCWith(start.H, start.a, v, TA, TC - kRevelleStep)};
}

// Revelle factor: the centred difference of fCO2 in TC at fixed TA of the
// record (1 micromol/kg either side, reference TC the lower one), here on
// double-precision solves (`roots`). On gradients, the derivative of that
// difference: each of the two fCO2 values is differentiated in TC, K0, K1,
// K2 and its pH, whose derivatives come from the TA-TC residual at its root
// (implicit differentiation), and the partial derivatives of the whole are
// summed by quantity before a single pass over the gradients.
template <class R>
R RevelleFactor(const Chemistry<R>& h, const R& TAused, const R& TC, const RevelleRoots& roots) {
    if (value(TC) == 0.0) return R(0.0);
    const Chemistry<double> v = Values(h);
    const double TCplus = value(TC) + kRevelleStep, TCminus = value(TC) - kRevelleStep;
    const double pHplus = roots.pH[0], pHminus = roots.pH[1];
    const double Hplus = TenToMinusAt(roots.last[0], pHplus), Hminus = TenToMinusAt(roots.last[1], pHminus);
    const double fplus = fCO2fromTCpH(v, TCplus, pHplus, Hplus);
    const double fminus = fCO2fromTCpH(v, TCminus, pHminus, Hminus);
    const double revelle = ((fplus - fminus) / kRevelleStep) / ((fplus + fminus) / TCminus);
    if constexpr (std::is_same_v<R, double>) {
        return revelle;
    } else {
        // R = (A / step) / (B / TCminus), A = f+ - f-, B = f+ + f-.
        const double A = fplus - fminus, B = fplus + fminus;
        const double K0 = v.k.K0, K1 = v.k.K1, K2 = v.k.K2;
        Partials<R, kRevelleQuantities> partials;
        partials.add(kRevelleTC, A / (kRevelleStep * B), TC);  // through TCminus
        // One fCO2 value of weight w at TC + dTC and its pH.
        const auto side = [&](double w, double tc, double H, double slope, double f) {
            const double D = H * H + K1 * H + K1 * K2;
            partials.add(kRevelleTC, w * f / tc, TC);
            partials.add(kRevelleK0, -w * f / K0, h.k.K0);
            partials.add(kRevelleK1, -w * f * (H + K2) / D, h.k.K1);
            partials.add(kRevelleK2, -w * f * K1 / D, h.k.K2);
            // d fCO2/d pH, then the pH's derivatives: minus those of the
            // residual over its slope.
            const double dfdpH = f * (2.0 / H - (2.0 * H + K1) / D) * (-kLn10 * H);
            const double viaPH = -w * dfdpH / slope;
            const double num = tc * K1 * (H + 2.0 * K2);
            partials.add(kRevelleTA, viaPH, TAused);
            partials.add(kRevelleTC, viaPH * (-K1 * (H + 2.0 * K2) / D), TC);
            partials.add(kRevelleK1, viaPH * (-(tc * (H + 2.0 * K2) * D - num * (H + K2)) / (D * D)), h.k.K1);
            partials.add(kRevelleK2, viaPH * (-(2.0 * tc * K1 * D - num * K1) / (D * D)), h.k.K2);
            NonCarbonatePartials(H, h, [&](std::size_t term, double partial, const R& x) {
                partials.add(kRevelleNonCarbonate + term, viaPH * partial, x);
            });
        };
        side(TCminus * 2.0 * fminus / (kRevelleStep * B * B), TCplus, Hplus, roots.slope[0], fplus);
        side(-TCminus * 2.0 * fplus / (kRevelleStep * B * B), TCminus, Hminus, roots.slope[1], fminus);
        return partials.gradient(revelle);
    }
}

// Air-sea flux [mmol m-2 d-1] for pCO2 of water and air [microatm]: transfer
// velocity (Wanninkhof 1992, Nightingale et al. 2000 or Ho et al. 2006, with
// the Schmidt number of Wanninkhof 1992) times the solubility K0 per volume
// (density of Millero and Poisson 1981) times the pCO2 difference.
template <class R>
R Flux(int code, const Chemistry<R>& h, const R& S, const R& u, const R& pCO2air, const R& pCO2water) {
    if (code < 0 || code > 2) return R(0.0);
    const std::array<const R*, 6> x{&h.TempC, &S, &u, &h.k.K0, &pCO2air, &pCO2water};
    return LocalOne(x, [code](const auto& v) {
        using T = Element<decltype(v)>;
        const T& t = v[0];
        const T& sal = v[1];
        const T& wind = v[2];
        const T t2 = t * t, t3 = t2 * t, t4 = t3 * t, t5 = t4 * t;
        const T Sc = 2073.1 - 125.62 * t + 3.6276 * t2 - 0.043219 * t3;
        T k;
        if (code == 0) {
            k = 0.31 * wind * wind * sqrt(660.0 / Sc) * 0.24;
        } else if (code == 1) {
            k = (0.333 * wind + 0.222 * wind * wind) / sqrt(Sc / 600.0) * 0.24;
        } else {
            k = 0.266 * wind * wind / sqrt(Sc / 600.0) * 0.24;
        }
        const T rho = 999.842594 + 0.06793952 * t - 0.00909529 * t2 + 0.0001001685 * t3 - 1.120083e-06 * t4 +
                      6.536332e-09 * t5 +
                      (0.824493 - 0.0040899 * t + 7.6438e-05 * t2 - 8.2476e-07 * t3 + 5.3875e-09 * t4) * sal +
                      (-0.00572466 + 0.00010227 * t - 1.6546e-06 * t2) * pow(sal, 1.5) + 0.00048314 * sal * sal;
        return std::array<T, 1>{k * (v[3] * 1000.0 * rho) * ((v[5] - v[4]) * 1e-6)};
    });
}

// The quantities of one set of conditions from TA, TC, pH and pCO2, written
// from position `first` on (pH, [H+], fCO2, pCO2, then, skipping TA and TCO2
// at output conditions, the species, Revelle factor, saturation states, xCO2
// and flux).
template <class R>
void Derived(int whichKs, int fluxCode, const Chemistry<R>& h, const R& S, const R& TA, const R& TC, const R& pH,
             const TermsAt& terms, const RevelleRoots& revelle, const R& fCO2, const R& pCO2, const R& wind,
             const R& pCO2air, bool input, R* q) {
    const ConditionConstants<R>& k = h.k;
    // [H+] and the carbonate species, micromol/kg.
    const double Hknown = TenToMinusAt(terms, value(pH));
    const auto species = Local<4>(std::array<const R*, 4>{&pH, &TC, &k.K1, &k.K2}, [Hknown](const auto& v) {
        using T = Element<decltype(v)>;
        const T H = TenToMinusKnown(v[0], Hknown);
        const T D = H * H + v[2] * H + v[2] * v[3];
        return std::array<T, 4>{H * kMicro, v[1] * v[2] * H / D * kMicro, v[1] * v[2] * v[3] / D * kMicro,
                                v[1] * H * H / D * kMicro};
    });
    // Borate, hydroxide, phosphate and silicate alkalinity, micromol/kg.
    // [H+] in mol/kg-SW, formed once.
    const R H = species[0] / kMicro;
    const R BAlk = LocalOne(std::array<const R*, 3>{&H, &k.TB, &k.KB}, [](const auto& v) {
        using T = Element<decltype(v)>;
        return std::array<T, 1>{v[1] * v[2] / (v[2] + v[0]) * kMicro};
    });
    const R OH = LocalOne(std::array<const R*, 2>{&H, &k.KW}, [](const auto& v) {
        using T = Element<decltype(v)>;
        return std::array<T, 1>{v[1] / v[0] * kMicro};
    });
    R PAlk = LocalOne(std::array<const R*, 5>{&H, &h.TP, &k.KP1, &k.KP2, &k.KP3}, [](const auto& v) {
        using T = Element<decltype(v)>;
        const T& H = v[0];
        const T HH = H * H;
        const T KP1KP2 = v[2] * v[3];
        const T KP1KP2KP3 = KP1KP2 * v[4];
        return std::array<T, 1>{v[1] * (KP1KP2 * H + 2.0 * KP1KP2KP3 - HH * H) /
                                (HH * H + v[2] * HH + KP1KP2 * H + KP1KP2KP3) * kMicro};
    });
    const R SiAlk = LocalOne(std::array<const R*, 3>{&H, &h.TSi, &k.KSi}, [](const auto& v) {
        using T = Element<decltype(v)>;
        return std::array<T, 1>{v[1] * v[2] / (v[2] + v[0]) * kMicro};
    });
    if (whichKs == kGeosecsPhosphateSet) PAlk = PAlk + h.TP * kMicro;
    const R TAused = whichKs == kGeosecsPhosphateSet ? TA - h.TP : TA;
    // Saturation states: CO3 Ca/Ksp.
    const auto omega = Local<2>(std::array<const R*, 4>{&species[2], &k.Ca, &k.KCa, &k.KAr}, [](const auto& v) {
        using T = Element<decltype(v)>;
        const T CO3Ca = v[0] / kMicro * v[1];
        return std::array<T, 2>{CO3Ca / v[2], CO3Ca / v[3]};
    });
    std::size_t i = 0;
    q[i++] = pH;
    q[i++] = species[0];
    q[i++] = fCO2 * kMicro;
    q[i++] = pCO2 * kMicro;
    if (input) {
        q[i++] = TA * kMicro;
        q[i++] = TC * kMicro;
    }
    q[i++] = species[1];
    q[i++] = species[2];
    q[i++] = species[3];
    q[i++] = BAlk;
    q[i++] = OH;
    q[i++] = PAlk;
    q[i++] = SiAlk;
    q[i++] = RevelleFactor(h, TAused, TC, revelle);
    q[i++] = omega[0];
    q[i++] = omega[1];
    q[i++] = LocalOne(std::array<const R*, 2>{&pCO2, &k.VPFac}, [](const auto& v) {
        using T = Element<decltype(v)>;
        return std::array<T, 1>{v[0] / v[1] * kMicro};
    });
    const R pCO2water = pCO2 * kMicro;
    q[i++] = Flux(fluxCode, h, S, wind, pCO2air, pCO2water);
}

// `directions`: the direction of each source on a gradient R smaller than
// Gradient (on Gradient source i is direction i); a source of direction -1
// is a constant.
template <class R>
Outcome Run(const ChemistryOptions& options, const Sample& sample, std::array<R, kQuantityCount>& out,
            const Directions* directions = nullptr) {
    const int whichKs = options.whichKs;
    std::array<R, kSourceCount> src;
    Directions along;  // the direction of each source on R
    for (std::size_t i = 0; i < kSourceCount; ++i) {
        if constexpr (std::is_same_v<R, double>) {
            src[i] = sample.x[i];
            along[i] = -1;
        } else {
            // Seeded in place (a copy of a number just written stalls).
            src[i] = R(sample.x[i]);
            if constexpr (std::is_same_v<R, Gradient>) {
                along[i] = static_cast<int>(i);
            } else {
                along[i] = (*directions)[i];
            }
            if (along[i] >= 0) src[i].d[static_cast<std::size_t>(along[i])] = 1.0;
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
    // A source (or 0) in chemistry units: its gradient is 1 along its own
    // direction and 0 along the others, so only that derivative is divided
    // (0 divided is 0).
    const auto inUnits = [&](Source s, const R& v) {
        if constexpr (std::is_same_v<R, double>) {
            return v / kMicro;
        } else {
            R r(v.v / kMicro);
            if (const int d = along[s]; d >= 0) r.d[static_cast<std::size_t>(d)] = v.d[static_cast<std::size_t>(d)] / kMicro;
            return r;
        }
    };
    const R TP = noNutrients ? R(0.0) : inUnits(kPhosphate, condition(kPhosphate));
    const R TSi = noNutrients ? R(0.0) : inUnits(kSilicate, condition(kSilicate));
    const R wind = src[kWindSpeed], pCO2air = src[kpCO2Air];

    const Chemistry<R> in = ChemistryAt(options, SalChem, TempC, Pdbar, TP, TSi, src, along);
    const bool outside = whichKs == kGeosecsPhosphateSet;

    // The pair, in chemistry units; the terms at the input pH (those of its
    // solve's root, or formed at a pH given or computed) and at the output pH.
    R TA(0.0), TC(0.0), pH(0.0), fCO2(0.0), pCO2(0.0);
    const Chemistry<double> vIn = Values(in);
    TermsAt inTerms, outTerms;
    const auto HAt = [&](const R& p) {
        if (!inTerms.at(value(p))) inTerms.form(ad::Dual<1>::variable(value(p), 0), vIn);
        return inTerms.H.v;
    };
    const auto take = [&](int code, Source s) {
        if (code == 1) TA = inUnits(s, src[s]);
        if (code == 2) TC = inUnits(s, src[s]);
        if (code == 3) pH = src[s];
        if (code == 4) fCO2 = inUnits(s, src[s]);
        if (code == 5) pCO2 = inUnits(s, src[s]);
    };
    take(sample.first, kFirstParameter);
    take(sample.second, kSecondParameter);
    if (sample.first == 4 || sample.second == 4) pCO2 = fCO2 / in.k.FugFac;
    if (sample.first == 5 || sample.second == 5) fCO2 = pCO2 * in.k.FugFac;
    const R TPoutside = outside ? TP : R(0.0);

    switch (10 * sample.first + sample.second) {
        case 12:
            pH = SolvepHTATC(in, TA - TPoutside, TC, inTerms);
            fCO2 = fCO2fromTCpH(in, TC, pH, HAt(pH));
            pCO2 = fCO2 / in.k.FugFac;
            break;
        case 13:
            TC = TCfromTApH(in, TA - TPoutside, pH, HAt(pH));
            fCO2 = fCO2fromTCpH(in, TC, pH, HAt(pH));
            pCO2 = fCO2 / in.k.FugFac;
            break;
        case 14:
        case 15:
            pH = SolvepHTAfCO2(in, TA - TPoutside, fCO2, inTerms);
            TC = TCfromTApH(in, TA - TPoutside, pH, HAt(pH));
            break;
        case 23:
            TA = TAfromTCpH(in, TC, pH, HAt(pH)) + TPoutside;
            fCO2 = fCO2fromTCpH(in, TC, pH, HAt(pH));
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
            TA = TAfromTCpH(in, TC, pH, HAt(pH)) + TPoutside;
            break;
        }
        case 34:
        case 35:
            TC = TCfrompHfCO2(in, pH, fCO2, HAt(pH));
            TA = TAfromTCpH(in, TC, pH, HAt(pH)) + TPoutside;
            break;
        default:
            return Outcome::kRefused;
    }
    if (!std::isfinite(value(pH))) return Outcome::kNoSolution;

    // Output conditions, TA and TC held. An output temperature and pressure
    // of 0 repeat the input ones: the input's constants serve again (the
    // same numbers, computed once).
    const bool sameConditions = x[kTemperatureOut] == 0.0 && x[kPressureOut] == 0.0;
    std::optional<Chemistry<R>> ownOut;
    if (!sameConditions) ownOut.emplace(ChemistryAt(options, SalChem, TempCOut, PdbarOut, TP, TSi, src, along));
    const Chemistry<R>& outChem = sameConditions ? in : *ownOut;
    const Chemistry<double> vOut = Values(outChem);
    const R TAheld = TA - TPoutside;
    const double TAv = value(TAheld), TCv = value(TC), pHv = value(pH);

    // The output pH and the two pH solves of the input Revelle factor all
    // start at the input pH: their Newton steps are taken side by side.
    RevelleRoots revelleIn, revelleOut;
    double rootOut = 0.0, slopeOut = 0.0;
    if (TCv == 0.0) {  // no Revelle factor
        rootOut = NewtonRoot(TATCSolve{&vOut, TAv, TCv, &outTerms}, pHv, slopeOut);
    } else {
        TermsAt own;  // the terms at the input pH where no solve left them
        if (!inTerms.at(pHv)) own.form(ad::Dual<1>::variable(pHv, 0), vIn);
        const TermsAt& start = inTerms.at(pHv) ? inTerms : own;
        const std::array<ad::Dual<1>, 2> firstIn = RevelleStart(start, vIn, TAv, TCv);
        // At the same conditions the output solve starts where the input's
        // terms are: its first residual is formed from them.
        ad::Dual<1> firstOut;
        if (sameConditions) {
            outTerms = start;
            firstOut = ResidualTATCWith(start.H, start.a, vIn, TAv, TCv);
        }
        const std::array<TATCSolve, 2> revelle = revelleIn.solves(vIn, TAv, TCv);
        std::array<double, 3> slopes{};
        const std::array<TATCSolve, 3> solves{TATCSolve{&vOut, TAv, TCv, &outTerms}, revelle[0], revelle[1]};
        const std::array<const ad::Dual<1>*, 3> first{sameConditions ? &firstOut : nullptr, &firstIn[0],
                                                      &firstIn[1]};
        const std::array<double, 3> roots = NewtonRoots(solves, pHv, slopes, first);
        rootOut = roots[0];
        slopeOut = slopes[0];
        revelleIn.pH = {roots[1], roots[2]};
        revelleIn.slope = {slopes[1], slopes[2]};
    }
    const R pHOut = TATCRoot(rootOut, slopeOut, outChem, TAheld, TC, outTerms);
    Derived(whichKs, options.fluxCode, in, SalChem, TA, TC, pH, inTerms, revelleIn, fCO2, pCO2, wind, pCO2air, true,
            &out[0]);
    if (!std::isfinite(value(pHOut))) return Outcome::kNoSolution;
    const R fCO2Out = fCO2fromTCpH(outChem, TC, pHOut, TenToMinusAt(outTerms, rootOut));
    const R pCO2Out = fCO2Out / outChem.k.FugFac;
    if (TCv != 0.0) {
        TermsAt own;
        if (!outTerms.at(rootOut)) own.form(ad::Dual<1>::variable(rootOut, 0), vOut);
        const TermsAt& start = outTerms.at(rootOut) ? outTerms : own;
        const std::array<ad::Dual<1>, 2> first = RevelleStart(start, vOut, TAv, TCv);
        std::array<double, 2> slopes{};
        revelleOut.pH = NewtonRoots(revelleOut.solves(vOut, TAv, TCv), rootOut, slopes,
                                    std::array<const ad::Dual<1>*, 2>{&first[0], &first[1]});
        revelleOut.slope = slopes;
    }
    Derived(whichKs, options.fluxCode, outChem, SalChem, TA, TC, pHOut, outTerms, revelleOut, fCO2Out, pCO2Out, wind,
            pCO2air, false, &out[kFirstOutQuantity]);
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

template <std::size_t N>
Outcome DifferentiateSampleAlong(const ChemistryOptions& options, const Sample& sample,
                                 const Directions& directions, std::array<ad::Dual<N>, kQuantityCount>& out) {
    return Run<ad::Dual<N>>(options, sample, out, &directions);
}

template Outcome DifferentiateSampleAlong<4>(const ChemistryOptions&, const Sample&, const Directions&,
                                             std::array<ad::Dual<4>, kQuantityCount>&);
template Outcome DifferentiateSampleAlong<8>(const ChemistryOptions&, const Sample&, const Directions&,
                                             std::array<ad::Dual<8>, kQuantityCount>&);
template Outcome DifferentiateSampleAlong<12>(const ChemistryOptions&, const Sample&, const Directions&,
                                              std::array<ad::Dual<12>, kQuantityCount>&);
template Outcome DifferentiateSampleAlong<16>(const ChemistryOptions&, const Sample&, const Directions&,
                                              std::array<ad::Dual<16>, kQuantityCount>&);

}  // namespace brinora::uncertainty
