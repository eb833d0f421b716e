// The pieces of the double-precision calculation that the pair solvers and
// the derived quantities share: the constants of one set of conditions as
// the calculation uses them (perturbed in pK units), the preaccumulation of
// local derivatives, the alkalinity residuals with their gradients at a
// fixed pH, and the pH solves (Newton's method on doubles, implicit
// differentiation at the root). Internal to the uncertainty library.
#pragma once

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <type_traits>
#include <utility>

#include "uncertainty/constants_ad.h"
#include "uncertainty/dual.h"
#include "uncertainty/sources.h"

namespace brinora::uncertainty::detail {

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

// The direction of a number that is a source itself (gradient 1 along one
// direction, 0 along the others); -1 for a constant (gradient 0); -2 for
// any other gradient.
template <std::size_t N>
int SeedDirection(const ad::Dual<N>& x) {
    int direction = -1;
    for (std::size_t i = 0; i < N; ++i) {
        if (x.d[i] == 0.0) continue;
        if (x.d[i] != 1.0 || direction != -1) return -2;
        direction = static_cast<int>(i);
    }
    return direction;
}

// A constant of the constants routine, evaluated on doubles or on duals
// along those of salinity, temperature and pressure that vary (`lanes`: the
// direction of each there, -1 for one that is constant), written into `r`
// (whose gradient is 0) as a full dual, by the chain rule through them; where
// these are sources themselves (`seeds`, from SeedDirection), by placing the
// derivatives.
template <class R, class C>
void LiftInto(R& r, const C& c, const R& S, const R& T, const R& P, const std::array<int, 3>& seeds,
              const std::array<int, 3>& lanes) {
    if constexpr (std::is_same_v<R, double>) {
        r = c;
    } else if constexpr (std::is_same_v<C, double>) {
        r.v = c;
    } else {
        r.v = c.v;
        if (seeds[0] >= -1 && seeds[1] >= -1 && seeds[2] >= -1) {
            for (std::size_t k = 0; k < 3; ++k) {
                if (seeds[k] >= 0) r.d[static_cast<std::size_t>(seeds[k])] += c.d[static_cast<std::size_t>(lanes[k])];
            }
            return;
        }
        const std::array<const R*, 3> x{&S, &T, &P};
        for (std::size_t i = 0; i < r.d.size(); ++i) {
            double sum = 0.0;
            bool first = true;
            for (std::size_t k = 0; k < 3; ++k) {
                if (lanes[k] < 0) continue;
                const double term = c.d[static_cast<std::size_t>(lanes[k])] * x[k]->d[i];
                sum = first ? term : sum + term;
                first = false;
            }
            r.d[i] = sum;
        }
    }
}

template <std::size_t N>
void AddScaled(ad::Dual<N>& g, double c, const ad::Dual<N>& x) {
    for (std::size_t i = 0; i < N; ++i) g.d[i] += c * x.d[i];
}

// K outputs of a function f of M numbers: on doubles f itself; on gradients,
// f evaluated once on M-direction duals and each output's gradient formed as
// the sum of its M local derivatives times the inputs' gradients
// (preaccumulation: M scaled additions instead of every operation of f on
// full gradients). The inputs are given by address (a gradient is large);
// f takes a std::array of M numbers of any type and returns a std::array of
// K of them.
template <std::size_t K, class R, std::size_t M, class F>
std::array<R, K> Local(const std::array<const R*, M>& x, F f) {
    if constexpr (std::is_same_v<R, double>) {
        std::array<double, M> v;
        for (std::size_t m = 0; m < M; ++m) v[m] = *x[m];
        return f(v);
    } else {
        using L = ad::Dual<M>;
        std::array<L, M> lx;
        // Seeded in place (a copy of a number just written stalls).
        for (std::size_t m = 0; m < M; ++m) {
            lx[m] = L(x[m]->v);
            lx[m].d[m] = 1.0;
        }
        const std::array<L, K> ly = f(lx);
        std::array<R, K> out;  // gradients 0
        for (std::size_t k = 0; k < K; ++k) {
            out[k].v = ly[k].v;
            for (std::size_t m = 0; m < M; ++m) {
                if (ly[k].d[m] != 0.0) AddScaled(out[k], ly[k].d[m], *x[m]);
            }
        }
        return out;
    }
}

// Local with one output, as a number (formed where it is kept).
template <class R, std::size_t M, class F>
R LocalOne(const std::array<const R*, M>& x, F f) {
    if constexpr (std::is_same_v<R, double>) {
        return Local<1>(x, f)[0];
    } else {
        using L = ad::Dual<M>;
        std::array<L, M> lx;
        for (std::size_t m = 0; m < M; ++m) {
            lx[m] = L(x[m]->v);
            lx[m].d[m] = 1.0;
        }
        const std::array<L, 1> ly = f(lx);
        R out;
        out.v = ly[0].v;
        for (std::size_t m = 0; m < M; ++m) {
            if (ly[0].d[m] != 0.0) AddScaled(out, ly[0].d[m], *x[m]);
        }
        return out;
    }
}

// The number type of the elements of an array argument of a Local function.
template <class A>
using Element = std::decay_t<decltype(std::declval<A>()[0])>;

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

// The chemistry of one set of conditions with the constants evaluated on C:
// doubles, or duals along the `lanes` of salinity, temperature and pressure.
template <class C, class R>
Chemistry<R> ChemistryOn(const ChemistryOptions& options, const R& S, const R& TempC, const R& Pdbar,
                         const R& TP, const R& TSi, const std::array<R, kSourceCount>& src,
                         const std::array<int, 3>& seeds, const std::array<int, 3>& lanes,
                         const Directions& directions) {
    const std::array<const R*, 3> conditions{&S, &TempC, &Pdbar};
    std::array<C, 3> at;
    for (std::size_t k = 0; k < 3; ++k) {
        if constexpr (std::is_same_v<C, double>) {
            at[k] = value(*conditions[k]);
        } else {
            at[k] = C(value(*conditions[k]));
            if (lanes[k] >= 0) at[k].d[static_cast<std::size_t>(lanes[k])] = 1.0;
        }
    }
    const ConditionConstants<C> c = ConstantsAt(options, at[0], at[1], at[2]);
    Chemistry<R> h;  // every gradient 0; each constant is formed where it is kept
    auto lift = [&](R& r, const C& v) { LiftInto<R, C>(r, v, S, TempC, Pdbar, seeds, lanes); };
    // A constant times 10^-offset; at an offset of 0 (the calculation itself)
    // its gradient gains -ln(10) K along the offset. The offset is a source:
    // its gradient is 1 along its own direction and 0 along the others, where
    // adding -ln(10) K times 0 (that is -0, for K > 0) changes nothing.
    auto perturbed = [&](R& r, const C& x, Source offset) {
        lift(r, x);
        if constexpr (std::is_same_v<R, double>) {
            if (src[offset] != 0.0) r = r * TenToMinus(src[offset]);
        } else {
            if (src[offset].v == 0.0) {
                const double slope = -kLn10 * r.v;
                if (!std::signbit(slope)) {
                    AddScaled(r, slope, src[offset]);
                } else if (const int d = directions[offset]; d >= 0) {
                    r.d[static_cast<std::size_t>(d)] += slope;
                }
            } else {
                r = r * TenToMinus(src[offset]);
            }
        }
    };
    ConditionConstants<R>& k = h.k;
    // The constants as the calculation uses them, each perturbed in pK units.
    perturbed(k.K0, c.K0, kpK0);
    perturbed(k.K1, c.K1, kpK1);
    perturbed(k.K2, c.K2, kpK2);
    perturbed(k.KW, c.KW, kpKW);
    perturbed(k.KB, c.KB, kpKB);
    perturbed(k.KF, c.KF, kpKF);
    perturbed(k.KS, c.KS, kpKS);
    perturbed(k.KP1, c.KP1, kpKP1);
    perturbed(k.KP2, c.KP2, kpKP2);
    perturbed(k.KP3, c.KP3, kpKP3);
    perturbed(k.KSi, c.KSi, kpKSi);
    perturbed(k.KCa, c.KCa, kpKspC);
    perturbed(k.KAr, c.KAr, kpKspA);
    lift(k.TB, c.TB);
    k.TB *= 1.0 + src[kTotalBoron];
    lift(k.TF, c.TF);
    lift(k.TS, c.TS);
    lift(k.fH, c.fH);
    lift(k.FugFac, c.FugFac);
    lift(k.VPFac, c.VPFac);
    lift(k.Ca, c.Ca);
    h.TP = TP;
    h.TSi = TSi;
    h.TempC = TempC;
    return h;
}

// The chemistry of one set of conditions: the constants are evaluated on
// duals along those of salinity, temperature and pressure that carry a
// gradient only (on doubles when none does, or when R is double). Each
// derivative is the one of the three-direction evaluation, bit for bit.
template <class R>
Chemistry<R> ChemistryAt(const ChemistryOptions& options, const R& S, const R& TempC, const R& Pdbar,
                         const R& TP, const R& TSi, const std::array<R, kSourceCount>& src,
                         const Directions& directions) {
    std::array<int, 3> seeds{-1, -1, -1};
    std::array<int, 3> lanes{-1, -1, -1};
    if constexpr (std::is_same_v<R, double>) {
        return ChemistryOn<double>(options, S, TempC, Pdbar, TP, TSi, src, seeds, lanes, directions);
    } else {
        seeds = {SeedDirection(S), SeedDirection(TempC), SeedDirection(Pdbar)};
        int varying = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            if (seeds[k] != -1) lanes[k] = varying++;
        }
        switch (varying) {
            case 0:
                return ChemistryOn<double>(options, S, TempC, Pdbar, TP, TSi, src, seeds, lanes, directions);
            case 1:
                return ChemistryOn<ad::Dual<1>>(options, S, TempC, Pdbar, TP, TSi, src, seeds, lanes, directions);
            case 2:
                return ChemistryOn<ad::Dual<2>>(options, S, TempC, Pdbar, TP, TSi, src, seeds, lanes, directions);
            default:
                return ChemistryOn<ad::Dual<3>>(options, S, TempC, Pdbar, TP, TSi, src, seeds, lanes, directions);
        }
    }
}

// The number type of an expression of a T and an R: a double and a dual
// give a dual, so that a value known to be constant (the pH at its root)
// carries no gradient through the arithmetic.
template <class T, class R>
using Mixed = decltype(std::declval<T>() * std::declval<R>());

// The non-carbonate alkalinity terms at H [mol/kg-SW] (number type of H),
// with the constants of any number type. Units: mol/kg-SW.
template <class V>
struct NonCarbonate {
    V BAlk, OH, PAlk, SiAlk, Hfree, HSO4, HF;
};

template <class T, class R>
NonCarbonate<Mixed<T, R>> NonCarbonateTerms(const T& H, const Chemistry<R>& h) {
    const ConditionConstants<R>& k = h.k;
    NonCarbonate<Mixed<T, R>> a;
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
// The residuals from [H+] and the non-carbonate terms there, formed by the
// caller (the same operations as from the pH itself).
template <class T, class R>
Mixed<T, R> ResidualTATCWith(const T& H, const NonCarbonate<Mixed<T, R>>& a, const Chemistry<R>& h, const R& TA,
                             const R& TC) {
    const ConditionConstants<R>& k = h.k;
    const Mixed<T, R> CAlk = TC * k.K1 * (H + 2.0 * k.K2) / (H * H + k.K1 * H + k.K1 * k.K2);
    return TA - CAlk - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
}
template <class T, class R>
Mixed<T, R> ResidualTAfCO2With(const T& H, const NonCarbonate<Mixed<T, R>>& a, const Chemistry<R>& h, const R& TA,
                               const R& fCO2) {
    const ConditionConstants<R>& k = h.k;
    const R K0K1fCO2 = k.K0 * k.K1 * fCO2;
    const Mixed<T, R> CAlk = K0K1fCO2 / H + 2.0 * K0K1fCO2 * k.K2 / (H * H);
    return TA - CAlk - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
}

template <class T, class R>
Mixed<T, R> ResidualTATC(const T& pH, const Chemistry<R>& h, const R& TA, const R& TC) {
    const T H = pow(10.0, -pH);
    return ResidualTATCWith(H, NonCarbonateTerms(H, h), h, TA, TC);
}

template <class T, class R>
Mixed<T, R> ResidualTAfCO2(const T& pH, const Chemistry<R>& h, const R& TA, const R& fCO2) {
    const T H = pow(10.0, -pH);
    return ResidualTAfCO2With(H, NonCarbonateTerms(H, h), h, TA, fCO2);
}

// [H+] and the non-carbonate terms at one pH, as value and slope in pH (on
// one-direction duals): the part of a residual that the pair does not
// enter. A solve keeps those of its last evaluation, which is at its root;
// the solves that start there and the derived quantities read them instead
// of forming them again (the same numbers).
struct TermsAt {
    double pH = std::numeric_limits<double>::quiet_NaN();  // where formed; NaN: not yet
    ad::Dual<1> H;
    NonCarbonate<ad::Dual<1>> a;

    void form(const ad::Dual<1>& x, const Chemistry<double>& v) {
        pH = x.v;
        H = pow(10.0, -x);
        a = NonCarbonateTerms(H, v);
    }
    bool at(double x) const { return pH == x; }
};

// The TA-TC residual of one solve on doubles (TA and TC [mol/kg-SW]) as a
// Newton step evaluates it, keeping the terms of its last evaluation.
struct TATCSolve {
    const Chemistry<double>* v;
    double TA, TC;
    TermsAt* last;
    ad::Dual<1> operator()(const ad::Dual<1>& pH) const {
        last->form(pH, *v);
        return ResidualTATCWith(last->H, last->a, *v, TA, TC);
    }
};

// 10^-pH on doubles: from the terms where they are at that pH.
inline double TenToMinusAt(const TermsAt& terms, double pH) {
    return terms.at(pH) ? terms.H.v : std::pow(10.0, -pH);
}

// 10^-pH in the number type of pH, for H = 10^-pH known: the same number as
// pow(10.0, -pH).
template <class T>
T TenToMinusKnown(const T& pH, double H) {
    if constexpr (std::is_same_v<T, double>) {
        return H;
    } else {
        return ad::chain(-pH, H, H * std::log(10.0));
    }
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
// `start` (pH 8, or a nearby root already known). Step: -F/F', halved while larger than 1 pH unit. Stop: a step below
// 1e-12 pH units; cap: 200 steps (converging samples take under 10), after
// which the solve has failed (NaN). Returns the root and sets `slope` to
// dF/dpH there: the slope just evaluated where the last step left the pH
// unchanged (a step below half its last digit, the usual end of the
// quadratic convergence), otherwise one more evaluation at the root.
template <class F>
double NewtonRoot(F residual, double start, double& slope) {
    using D1 = ad::Dual<1>;
    double pH = start;
    for (int step = 0; step < 200; ++step) {
        const D1 f = residual(D1::variable(pH, 0));
        double delta = -f.v / f.d[0];
        if (!std::isfinite(delta)) break;
        while (std::fabs(delta) > 1.0) delta /= 2.0;
        const double next = pH + delta;
        if (std::fabs(delta) < 1e-12) {
            slope = next == pH ? f.d[0] : residual(D1::variable(next, 0)).d[0];
            return next;
        }
        pH = next;
    }
    return std::nan("");
}

// K roots by NewtonRoot from one start, the steps of the K solves taken side
// by side (each solve the same steps, to the same bits, as on its own; the
// evaluations of a step do not wait for each other). `first[s]`, where not
// null, is the residual of solve s at the start, formed by the caller.
// Returns the roots and sets their slopes.
template <std::size_t K, class F>
std::array<double, K> NewtonRoots(const std::array<F, K>& residual, double start, std::array<double, K>& slope,
                                  const std::array<const ad::Dual<1>*, K>& first) {
    using D1 = ad::Dual<1>;
    std::array<double, K> pH;
    std::array<double, K> root;
    std::array<bool, K> done;
    pH.fill(start);
    root.fill(std::nan(""));
    done.fill(false);
    std::size_t open = K;
    for (int step = 0; step < 200 && open > 0; ++step) {
        std::array<D1, K> f;
        for (std::size_t s = 0; s < K; ++s) {
            if (done[s]) continue;
            f[s] = step == 0 && first[s] != nullptr ? *first[s] : residual[s](D1::variable(pH[s], 0));
        }
        for (std::size_t s = 0; s < K; ++s) {
            if (done[s]) continue;
            double delta = -f[s].v / f[s].d[0];
            if (!std::isfinite(delta)) {
                done[s] = true;
                --open;
                continue;
            }
            while (std::fabs(delta) > 1.0) delta /= 2.0;
            const double next = pH[s] + delta;
            if (std::fabs(delta) < 1e-12) {
                slope[s] = next == pH[s] ? f[s].d[0] : residual[s](D1::variable(next, 0)).d[0];
                root[s] = next;
                done[s] = true;
                --open;
                continue;
            }
            pH[s] = next;
        }
    }
    return root;
}

// ---- Gradients of the residuals at a fixed pH ----
//
// At the root the pH is a constant, and the residual is a sum of terms in
// the constants, totals and the pair. Its gradient is formed from the
// residual's partial derivatives in those quantities (doubles, the closed
// forms below) times their gradients: some 17 scaled additions of a
// gradient instead of the 35 operations on gradients of the residual itself.

// The partial derivatives of -BAlk - OH - PAlk - SiAlk + Hfree + HSO4 + HF
// at H in the totals and constants: add(term, partial, quantity) for each,
// the terms numbered 0 to kNonCarbonateQuantities - 1 in the order of the
// calls.
constexpr std::size_t kNonCarbonateQuantities = 13;

template <class R, class Add>
void NonCarbonatePartials(double H, const Chemistry<R>& h, Add&& add) {
    const ConditionConstants<R>& k = h.k;
    const double TB = k.TB.v, KB = k.KB.v, TP = h.TP.v, TSi = h.TSi.v, KSi = k.KSi.v;
    const double KP1 = k.KP1.v, KP2 = k.KP2.v, KP3 = k.KP3.v;
    const double TS = k.TS.v, KS = k.KS.v, TF = k.TF.v, KF = k.KF.v;
    // Borate: TB KB/(KB + H).
    const double bD = KB + H;
    add(0, -KB / bD, k.TB);
    add(1, -TB * H / (bD * bD), k.KB);
    // Hydroxide: KW/H.
    add(2, -1.0 / H, k.KW);
    // Phosphate: TP Num/Den.
    const double HH = H * H, HHH = HH * H;
    const double num = KP1 * KP2 * H + 2.0 * KP1 * KP2 * KP3 - HHH;
    const double den = HHH + KP1 * HH + KP1 * KP2 * H + KP1 * KP2 * KP3;
    const auto phosphate = [&](double dNum, double dDen) { return -TP * (dNum * den - num * dDen) / (den * den); };
    add(3, -num / den, h.TP);
    add(4, phosphate(KP2 * H + 2.0 * KP2 * KP3, HH + KP2 * H + KP2 * KP3), k.KP1);
    add(5, phosphate(KP1 * H + 2.0 * KP1 * KP3, KP1 * H + KP1 * KP3), k.KP2);
    add(6, phosphate(2.0 * KP1 * KP2, KP1 * KP2), k.KP3);
    // Silicate: TSi KSi/(KSi + H).
    const double sD = KSi + H;
    add(7, -KSi / sD, h.TSi);
    add(8, -TSi * H / (sD * sD), k.KSi);
    // Hfree = H/a, a = 1 + TS/KS; HSO4 = TS/b, b = 1 + KS/Hfree; HF = TF/c, c = 1 + KF/Hfree.
    const double a = 1.0 + TS / KS;
    const double Hfree = H / a;
    const double b = 1.0 + KS / Hfree, c = 1.0 + KF / Hfree;
    const double dHfreedTS = -H / (a * a * KS);
    const double dHfreedKS = H * TS / (a * a * KS * KS);
    // Everything that Hfree reaches: Hfree itself, HSO4 and HF through it.
    const double viaHfree = 1.0 + TS * KS / (b * b * Hfree * Hfree) + TF * KF / (c * c * Hfree * Hfree);
    add(9, 1.0 / b + viaHfree * dHfreedTS, k.TS);
    add(10, -TS / (b * b * Hfree) + viaHfree * dHfreedKS, k.KS);
    add(11, 1.0 / c, k.TF);
    add(12, -TF / (c * c * Hfree), k.KF);
}

// Adds the gradient of -BAlk - OH - PAlk - SiAlk + Hfree + HSO4 + HF at H.
template <std::size_t N>
void AddNonCarbonateGradient(double H, const Chemistry<ad::Dual<N>>& h, ad::Dual<N>& g) {
    NonCarbonatePartials(H, h,
                         [&g](std::size_t, double partial, const ad::Dual<N>& x) { AddScaled(g, partial, x); });
}

// The gradient of the TA-TC residual at a fixed pH (the root: its value,
// there 0, is not formed; only the gradient is used).
template <std::size_t N>
ad::Dual<N> ResidualTATCAt(double H, const Chemistry<ad::Dual<N>>& h, const ad::Dual<N>& TA,
                           const ad::Dual<N>& TC) {
    const ConditionConstants<ad::Dual<N>>& k = h.k;
    const double K1 = k.K1.v, K2 = k.K2.v, C = TC.v;
    const double D = H * H + K1 * H + K1 * K2;
    const double num = C * K1 * (H + 2.0 * K2);
    ad::Dual<N> g(0.0);
    AddScaled(g, 1.0, TA);
    AddScaled(g, -K1 * (H + 2.0 * K2) / D, TC);
    AddScaled(g, -(C * (H + 2.0 * K2) * D - num * (H + K2)) / (D * D), k.K1);
    AddScaled(g, -(2.0 * C * K1 * D - num * K1) / (D * D), k.K2);
    AddNonCarbonateGradient(H, h, g);
    return g;
}

// The gradient of the TA-fCO2 residual at a fixed pH (the root), as above.
template <std::size_t N>
ad::Dual<N> ResidualTAfCO2At(double H, const Chemistry<ad::Dual<N>>& h, const ad::Dual<N>& TA,
                             const ad::Dual<N>& fCO2) {
    const ConditionConstants<ad::Dual<N>>& k = h.k;
    const double K0 = k.K0.v, K1 = k.K1.v, K2 = k.K2.v, f = fCO2.v;
    const double carbonate = 1.0 / H + 2.0 * K2 / (H * H);  // CAlk/(K0 K1 fCO2)
    ad::Dual<N> g(0.0);
    AddScaled(g, 1.0, TA);
    AddScaled(g, -K1 * f * carbonate, k.K0);
    AddScaled(g, -K0 * f * carbonate, k.K1);
    AddScaled(g, -2.0 * K0 * K1 * f / (H * H), k.K2);
    AddScaled(g, -K0 * K1 * carbonate, fCO2);
    AddNonCarbonateGradient(H, h, g);
    return g;
}


// The root as a dual: its value, and the gradient -(dF/dp)/(dF/dpH) from
// the gradient `f` of the residual at the root (the pH there a constant).
template <std::size_t N>
ad::Dual<N> ImplicitRoot(double root, double slope, const ad::Dual<N>& f) {
    ad::Dual<N> r(root);
    for (std::size_t i = 0; i < N; ++i) r.d[i] = -f.d[i] / slope;
    return r;
}

// pH as a number of type R from its root and slope on the TA-TC residual
// (TA and TC [mol/kg-SW]), `last` the terms there.
template <class R>
R TATCRoot(double root, double slope, const Chemistry<R>& h, const R& TA, const R& TC, const TermsAt& last) {
    if constexpr (std::is_same_v<R, double>) {
        return root;
    } else {
        return ImplicitRoot(root, slope, ResidualTATCAt(TenToMinusAt(last, root), h, TA, TC));
    }
}

// pH from TA and TC [mol/kg-SW]; `last` receives the terms of the last
// evaluation (at the root).
template <class R>
R SolvepHTATC(const Chemistry<R>& h, const R& TA, const R& TC, TermsAt& last, double start = 8.0) {
    const Chemistry<double> v = Values(h);
    double slope = 0.0;
    const double root = NewtonRoot(TATCSolve{&v, value(TA), value(TC), &last}, start, slope);
    return TATCRoot(root, slope, h, TA, TC, last);
}

// pH from TA [mol/kg-SW] and fCO2 [atm], as above.
template <class R>
R SolvepHTAfCO2(const Chemistry<R>& h, const R& TA, const R& fCO2, TermsAt& last) {
    const Chemistry<double> v = Values(h);
    const double TAv = value(TA), fv = value(fCO2);
    double slope = 0.0;
    const double root = NewtonRoot(
        [&](const ad::Dual<1>& pH) {
            last.form(pH, v);
            return ResidualTAfCO2With(last.H, last.a, v, TAv, fv);
        },
        8.0, slope);
    if constexpr (std::is_same_v<R, double>) {
        return root;
    } else {
        return ImplicitRoot(root, slope, ResidualTAfCO2At(last.H.v, h, TA, fCO2));
    }
}

}  // namespace brinora::uncertainty::detail
