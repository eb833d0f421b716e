// The one-sample form without its toolkit: the registry of text fields bound
// to board slots, the Calculate and Clear actions, and the tab switching. The
// desktop program's window wraps it; the tests drive it with plain fields.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/controller_core.h"
#include "app/ui.h"
#include "engine/compute_co2.h"
#include "engine/engine.h"

namespace brinora {

// A text field of the form whose tag is the board slot that it shows.
class BoundField {
public:
    virtual ~BoundField() = default;
    // Board slot shown by the field (0..72).
    virtual std::uint32_t tag() const = 0;
    // Current text ("" when empty).
    virtual std::string text() const = 0;
    // Replaces the text.
    virtual void setText(std::string_view text) = 0;
};

// The four tab views of the main window.
enum class TabView {
    SingleBatch,    // item 0 one sample, item 1 batch processing
    DataConstants,  // item 0 data entry, item 1 constants choice
    Main,           // item 0 input, item 1 results
    Sub,            // item 0 results at input conditions, item 1 at output conditions
};

// Selection of the tab views, as the form controller sees them.
class TabViews {
public:
    virtual ~TabViews() = default;
    // Index of the item in front.
    virtual int selectedTab(TabView view) const = 0;
    // Brings item `index` to the front.
    virtual void selectTab(TabView view, int index) = 0;
};

// Messages of the form, shown as presented errors of domain "BrinoraApp", code 0.
inline constexpr std::string_view kReturnToDataInputMessage =
    "Return to the data input tab to perform the calculation";
inline constexpr std::string_view kRemoveCommasMessage =
    "Please remove commas from the sample information text boxes.";
inline constexpr std::string_view kInsufficientDataMessage =
    "To perform the calculation, Brinora needs values for salinity, temperature, and at least two "
    "carbonate parameters from the second column.";
// Log line written before kInsufficientDataMessage is presented.
inline constexpr std::string_view kInsufficientDataLogLine =
    "Insufficient data to perform the calculation";

// Why a sample was not calculated, for the user ("" when it was).
std::string refusedSampleMessage(const ComputeOutcome& outcome);

class FormController {
public:
    FormController(BrinoraAppControllerCore& core, AppUi& ui, TabViews& tabs, Engine& board);

    // ---- Field registry (fields register once, when the window is loaded) ----
    void registerInput(BoundField* field);
    void registerOutput(BoundField* field);
    // Field text read leniently as a float into the slot named by its tag.
    void pushInputValue(BoundField& field);
    // Slot named by the field's tag, widened to double, written with "%.3f".
    void pullOutputValue(BoundField& field);
    // Empty text (input fields too).
    void clearOutputValue(BoundField& field);

    const std::vector<BoundField*>& inputFields() const { return inputFields_; }
    const std::vector<BoundField*>& outputFields() const { return outputFields_; }
    // The first registered input field with tag `tag`, or nullptr.
    BoundField* inputFieldWithTag(std::uint32_t tag) const;

    // ---- Actions ----
    // Checks the entries and calculates one sample (or starts the batch run
    // when the batch tab is in front). True when a sample was calculated and
    // its results are on the form.
    bool calculate();
    // Resets the board and empties every output and input field.
    void clear();
    void switchToInput();
    void switchToResultsInputConditions();
    void switchToResultsOutputConditions();
    void switchToConstants();
    void switchToBatchProcessing();
    // Selects item 0 of the four tab views (window load).
    void awakeFromNib();

    // Number of board positions 0..22 that are not exactly 0 (NaN counts).
    int countNonZeroInputSlots() const;

private:
    void presentAppError(std::string_view message);

    BrinoraAppControllerCore& core_;
    AppUi& ui_;
    TabViews& tabs_;
    Engine& board_;
    std::vector<BoundField*> inputFields_;
    std::vector<BoundField*> outputFields_;
};

}  // namespace brinora
