#include "constants/process_values.h"

namespace brinora {

float K0 = 0.0f;
float FugFac = 0.0f;

}  // namespace brinora
