// Forward-mode automatic differentiation: a double value with a fixed-size
// gradient, carried through + - * / and the elementary functions the
// carbonate calculation uses. A number of type Dual<N> is x with dx/ds for
// the N source directions s; every operation applies the chain rule, so the
// gradient of a result is exact to double rounding (no step size).
#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace brinora::ad {

template <std::size_t N>
struct Dual {
    double v = 0.0;               // value
    std::array<double, N> d{};    // derivative along each direction

    Dual() = default;
    // A constant: gradient 0.
    Dual(double value) : v(value) {}  // NOLINT(google-explicit-constructor): constants mix freely

    // The independent variable of direction `i` with value `value`.
    static Dual variable(double value, std::size_t i) {
        Dual x(value);
        x.d[i] = 1.0;
        return x;
    }

    Dual& operator+=(const Dual& b) {
        v += b.v;
        for (std::size_t i = 0; i < N; ++i) d[i] += b.d[i];
        return *this;
    }
    Dual& operator-=(const Dual& b) {
        v -= b.v;
        for (std::size_t i = 0; i < N; ++i) d[i] -= b.d[i];
        return *this;
    }
    Dual& operator*=(const Dual& b) {
        for (std::size_t i = 0; i < N; ++i) d[i] = d[i] * b.v + v * b.d[i];
        v *= b.v;
        return *this;
    }
    Dual& operator/=(const Dual& b) {
        const double q = v / b.v;
        const double r = 1.0 / b.v;
        for (std::size_t i = 0; i < N; ++i) d[i] = (d[i] - q * b.d[i]) * r;
        v = q;
        return *this;
    }
    Dual& operator+=(double b) {
        v += b;
        return *this;
    }
    Dual& operator-=(double b) {
        v -= b;
        return *this;
    }
    Dual& operator*=(double b) {
        v *= b;
        for (std::size_t i = 0; i < N; ++i) d[i] *= b;
        return *this;
    }
    Dual& operator/=(double b) {
        v /= b;
        for (std::size_t i = 0; i < N; ++i) d[i] /= b;
        return *this;
    }
};

// The value of a number, double or dual.
inline double value(double x) { return x; }
template <std::size_t N>
double value(const Dual<N>& x) {
    return x.v;
}

// A dual whose derivative is `slope` times that of `x`, with value `fx`
// (the chain rule for a function of one argument).
template <std::size_t N>
Dual<N> chain(const Dual<N>& x, double fx, double slope) {
    Dual<N> y(fx);
    for (std::size_t i = 0; i < N; ++i) y.d[i] = slope * x.d[i];
    return y;
}

template <std::size_t N>
Dual<N> operator-(const Dual<N>& a) {
    return chain(a, -a.v, -1.0);
}
// The binary operations form their result in the number returned (not in a
// copy of an argument that is then copied out: a copy right after the stores
// waits on them), with the operations of the compound assignments above.
template <std::size_t N>
Dual<N> operator+(const Dual<N>& a, const Dual<N>& b) {
    Dual<N> r;
    r.v = a.v + b.v;
    for (std::size_t i = 0; i < N; ++i) r.d[i] = a.d[i] + b.d[i];
    return r;
}
template <std::size_t N>
Dual<N> operator-(const Dual<N>& a, const Dual<N>& b) {
    Dual<N> r;
    r.v = a.v - b.v;
    for (std::size_t i = 0; i < N; ++i) r.d[i] = a.d[i] - b.d[i];
    return r;
}
template <std::size_t N>
Dual<N> operator*(const Dual<N>& a, const Dual<N>& b) {
    Dual<N> r;
    for (std::size_t i = 0; i < N; ++i) r.d[i] = a.d[i] * b.v + a.v * b.d[i];
    r.v = a.v * b.v;
    return r;
}
// a/c and b/c in one packed division where the compiler offers vectors of
// two doubles (each lane an IEEE division, the same bits as two divisions).
inline void DivideTwo(double a, double b, double c, double& qa, double& qb) {
#if defined(__GNUC__)
    using V2 = double __attribute__((vector_size(16)));
    const V2 q = V2{a, b} / V2{c, c};
    qa = q[0];
    qb = q[1];
#else
    qa = a / c;
    qb = b / c;
#endif
}

template <std::size_t N>
Dual<N> operator/(const Dual<N>& a, const Dual<N>& b) {
    double q, s;
    DivideTwo(a.v, 1.0, b.v, q, s);
    Dual<N> r;
    for (std::size_t i = 0; i < N; ++i) r.d[i] = (a.d[i] - q * b.d[i]) * s;
    r.v = q;
    return r;
}
template <std::size_t N>
Dual<N> operator+(const Dual<N>& a, double b) {
    Dual<N> r = a;
    r.v = a.v + b;
    return r;
}
template <std::size_t N>
Dual<N> operator+(double a, const Dual<N>& b) {
    Dual<N> r = b;
    r.v = b.v + a;
    return r;
}
template <std::size_t N>
Dual<N> operator-(const Dual<N>& a, double b) {
    Dual<N> r = a;
    r.v = a.v - b;
    return r;
}
template <std::size_t N>
Dual<N> operator-(double a, const Dual<N>& b) {
    return chain(b, a - b.v, -1.0);
}
template <std::size_t N>
Dual<N> operator*(const Dual<N>& a, double b) {
    Dual<N> r;
    r.v = a.v * b;
    for (std::size_t i = 0; i < N; ++i) r.d[i] = a.d[i] * b;
    return r;
}
template <std::size_t N>
Dual<N> operator*(double a, const Dual<N>& b) {
    Dual<N> r;
    r.v = b.v * a;
    for (std::size_t i = 0; i < N; ++i) r.d[i] = b.d[i] * a;
    return r;
}
template <std::size_t N>
Dual<N> operator/(const Dual<N>& a, double b) {
    Dual<N> r;
    r.v = a.v / b;
    for (std::size_t i = 0; i < N; ++i) r.d[i] = a.d[i] / b;
    return r;
}
template <std::size_t N>
Dual<N> operator/(double a, const Dual<N>& b) {
    const double q = a / b.v;
    return chain(b, q, -q / b.v);
}

// exp; at 0 (every pressure correction at the surface) the value is 1 exactly
// and the library is not called.
template <std::size_t N>
Dual<N> exp(const Dual<N>& x) {
    const double e = x.v == 0.0 ? 1.0 : std::exp(x.v);
    return chain(x, e, e);
}
template <std::size_t N>
Dual<N> log(const Dual<N>& x) {
    return chain(x, std::log(x.v), 1.0 / x.v);
}
// sqrt; at 0 the gradient is taken as 0 (the calculation meets sqrt(0) only
// for a salinity of 0 that is held fixed, as in the freshwater set).
template <std::size_t N>
Dual<N> sqrt(const Dual<N>& x) {
    const double r = std::sqrt(x.v);
    return chain(x, r, r > 0.0 ? 0.5 / r : 0.0);
}
// x^p for a constant exponent p; 0 gradient at x = 0 as for sqrt.
template <std::size_t N>
Dual<N> pow(const Dual<N>& x, double p) {
    const double y = std::pow(x.v, p);
    return chain(x, y, x.v != 0.0 ? p * y / x.v : 0.0);
}
// a^x for a constant base a > 0.
template <std::size_t N>
Dual<N> pow(double a, const Dual<N>& x) {
    const double y = std::pow(a, x.v);
    return chain(x, y, y * std::log(a));
}

}  // namespace brinora::ad
