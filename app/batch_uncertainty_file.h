// The uncertainty file of a desktop batch run: the same file that `brinora
// batch INPUT -o OUTPUT --u-...` writes beside its output (the uncertainty
// file's own pass over the input, uncertainty_io/uncertainty_file.h), for the
// choice of the uncertainty panel and the window's option menus.
#pragma once

#include <string>

#include "app/uncertainty_choice.h"

namespace brinora {

struct UncertaintyFileResult {
    bool written = false;
    std::string path;   // the file written (or not)
    std::string error;  // why it was not written; "" when it was
};

// Writes the uncertainty file of batch input `input` to the default name
// beside `output` (<output stem>_uncertainty.csv), replacing an earlier one
// atomically: nothing of it is on disk unless all of it is.
UncertaintyFileResult writeBatchUncertaintyFile(const std::string& input, const std::string& output,
                                                const UncertaintyChoice& choice, const OptionMenus& menus);

}  // namespace brinora
