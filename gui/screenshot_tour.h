// The screenshot tour: fills in a sample, calculates it, runs a small batch
// with its preview, plots a cruise's depth profile and saves a picture of
// every tab, for the README.
#pragma once

#include <QString>

namespace brinora {

class BrinoraAppController;

// Saves input.png, constants.png, results-input.png, results-output.png,
// batch.png, preview.png, graph.png and help.png in `folder`. The graph shows
// the output of the batch input file `cruiseInput`, run through the batch
// tab, or of the tour's own small batch when it is empty. Returns 0 on
// success, 1 when a picture could not be saved or the program refused a step.
int runScreenshotTour(BrinoraAppController& window, const QString& folder, const QString& cruiseInput = {});

}  // namespace brinora
