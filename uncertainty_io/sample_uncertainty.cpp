#include "uncertainty_io/sample_uncertainty.h"

#include <string_view>

namespace brinora::uncertainty {

bool PrepareSampleUncertainty(const Board& inputs, const UncertaintyRequest& request, SampleUncertainty& result) {
    if (!SampleOfBoard(inputs, result.sample, result.options)) return false;
    result.u = SourceUncertainties(request, result.sample.first, result.sample.second);
    return true;
}

Outcome PropagateSampleUncertainty(double correlation, SampleUncertainty& result) {
    const Outcome outcome = DifferentiateSample(result.options, result.sample, result.gradient);
    if (outcome == Outcome::kComputed) {
        PropagateGradients(result.gradient, CovarianceOf(result.u, correlation), result.propagated);
    }
    return outcome;
}

std::size_t QuantityOfRow(const brinora::Quantity* row) {
    if (!row) return kNoQuantity;
    for (std::size_t k = 0; k < kQuantityCount; ++k) {
        if (kQuantityNames[k] == row->resultName) return k;
    }
    // TA and TCO2 are held from input to output.
    const std::string_view name = row->resultName;
    if (name.size() > 4 && name.substr(name.size() - 4) == "_out") {
        for (std::size_t k = 0; k < kQuantityCount; ++k) {
            if (kQuantityNames[k] == name.substr(0, name.size() - 4)) return k;
        }
    }
    return kNoQuantity;
}

double RowUncertainty(const brinora::Quantity* row, const SampleUncertainty& result) {
    if (!row) return -1.0;
    const std::size_t k = QuantityOfRow(row);
    if (k != kNoQuantity) return result.propagated.u[k];
    for (std::size_t s = kSalinity; s < kpK0; ++s) {
        if (kSourceNames[s] != row->resultName) continue;
        // An output temperature or pressure of 0 is the input one.
        if (s == kTemperatureOut && result.sample.x[kTemperatureOut] == 0.0) return result.u[kTemperature];
        if (s == kPressureOut && result.sample.x[kPressureOut] == 0.0) return result.u[kPressure];
        return result.u[s];
    }
    return -1.0;
}

}  // namespace brinora::uncertainty
