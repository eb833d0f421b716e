// The uncertainty functions of the compiled module (python/_uncertainty.cpp).
#pragma once

#include <pybind11/pybind11.h>

namespace brinora::python {

// Adds sensitivities, propagate and buffers to the module.
void registerUncertainty(pybind11::module_& m);

}  // namespace brinora::python
