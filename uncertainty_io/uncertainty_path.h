// Where the uncertainty file of a batch run goes by default: beside the
// output, named after it.
#pragma once

#include <string>

namespace brinora::uncertainty {

// The name of the uncertainty file of output `output`: its name without a
// final ".csv" (in any case), then "_uncertainty.csv".
std::string DefaultUncertaintyPath(const std::string& output);

}  // namespace brinora::uncertainty
