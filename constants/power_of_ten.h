// 10^x rounded to a float, fast, and always the float that the C library's
// double pow(10, x) rounds to.
#pragma once

namespace brinora {

// static_cast<float>(std::pow(10.0, x)), to the bit, for every double x.
// For -37 < x < 37 it evaluates 2^(x log2 10) from a table of 2^(j/64) and a
// polynomial, with a relative error below 2^-44; when that value lies within
// 2^-39 (relative) of a point halfway between two floats, where pow's own
// error could round the other way, it calls pow. Outside that range, and for
// not-a-number, it calls pow.
float TenToTheAsFloat(double x);

}  // namespace brinora
