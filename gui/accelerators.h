// Keyboard accelerators (Alt+letter) of the main window. Each key is claimed
// once in the whole window, whichever page is in front: the four menu titles
// (F, S, V, H), Calculate and Clear (C, L), the 14 number fields of the form
// and the graph page's x axis, y axis, colour and size (X, Y, B, Z). The
// number fields take theirs through their labels, which are the fields'
// buddies; a field whose name offers no free letter carries it on its unit
// label, also a buddy of the field. The labels offer no other free letter (J
// and Q are in none), so the other buttons and menus of the pages have no
// accelerator: the File and View menus reach the batch page's actions.
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
