// Keyboard accelerators (Alt+letter) of the main window. Each key is claimed
// once among the widgets that can be on screen together: the menu bar, the
// button row and one page. The number fields of the form take theirs through
// their labels, which are the fields' buddies; a field whose name offers no
// free letter carries it on its unit label, also a buddy of the field.
#pragma once

#include <QChar>
#include <QString>

#include <cstdint>
#include <optional>

namespace brinora {

// `text` with an accelerator mark before the first `letter` (either case),
// every "&" already in it doubled; `text` unchanged when it lacks `letter`.
QString withAccelerator(const QString& text, QChar letter);

// Where a number field of the form shows its accelerator, and which letter.
struct FieldAccelerator {
    QChar letter;
    bool onUnit = false;  // on the unit label instead of the name
};

// The accelerator of the input field of board slot `slot`, if it has one.
std::optional<FieldAccelerator> inputFieldAccelerator(std::uint32_t slot);

}  // namespace brinora
