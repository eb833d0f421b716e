// Conversion of a pH between the total, seawater, free and NBS scales.
#include "solvers/ph_scales.h"

#include <cmath>

namespace brinora {
namespace {

// -log10(x), computed as ln(x)/ln(0.1) in double.
double MinusLog10(double x) { return std::log(x) / std::log(0.1); }

}  // namespace

void FindpHOnAllScales(short pHScale, float pH, const ConstantsArray& K, const TotalsArray& T,
                       float fH, float& pHNBS, float& pHFree, float& pHTot, float& pHSWS) {
    const float TS = T[t::TS], TF = T[t::TF];
    const float KS = K[k::KS], KF = K[k::KF];
    const float FREEtoTOT = 1.0 + TS / KS;
    const float SWStoTOT = (1.0 + TS / KS) / (1.0 + TS / KS + TF / KF);

    // Offset of the given scale from the total scale; unknown codes count as total.
    float factor = 0.0f;
    switch (pHScale) {
        case 1:
            factor = 0.0f;
            break;
        case 2:
            factor = -MinusLog10(SWStoTOT);
            break;
        case 3:
            factor = -MinusLog10(FREEtoTOT);
            break;
        case 4:
            factor = -MinusLog10(SWStoTOT) + MinusLog10(fH);
            break;
        default:
            factor = 0.0f;
            break;
    }
    pHTot = pH - factor;
    pHNBS = pHTot - MinusLog10(SWStoTOT) + MinusLog10(fH);
    pHFree = pHTot - MinusLog10(FREEtoTOT);
    pHSWS = pHTot - MinusLog10(SWStoTOT);
}

}  // namespace brinora
