// Text fields of the form bound to board slots by their tag. Each field's
// delegate is the main window controller, which moves values between the
// field and the board.
#pragma once

#include <QLineEdit>

#include "app/form_controller.h"

namespace brinora {

class BrinoraAppController;

// A field the user types a sample value into.
class InputTextField : public QLineEdit, public BoundField {
    Q_OBJECT
public:
    // Registers itself with `delegate` (the window load of the design).
    InputTextField(std::uint32_t tag, BrinoraAppController* delegate, QWidget* parent = nullptr);

    std::uint32_t tag() const override { return tag_; }
    std::string text() const override;
    void setText(std::string_view text) override;

    // Sends registerInput: with itself to the delegate.
    void registerSelf();
    // Sends pushInputValue: (the text into the board slot).
    void pushValue();
    // Sends pullOutputValue: (the board slot into the text).
    void pullValue();
    // Sends clearOutputValue: (empties the text).
    void clearValue();

    // Why the text is not read as the user may expect ("x1" is read as 0,
    // "12a" as 12), or empty when it is a plain number (or empty).
    QString lenientReadingNote() const { return lenientNote_; }
    // The note for `text`.
    static QString lenientReadingNoteFor(const QString& text);
    // Whether the field holds text with no number at its start, which is read as 0.
    bool readAsZero() const;
    // The field's name as its label shows it, without the accelerator mark.
    QString fieldName() const { return fieldName_; }
    void setFieldName(const QString& name) { fieldName_ = name; }

Q_SIGNALS:
    // The note changed (empty: the text is a plain number again).
    void lenientReadingChanged(const QString& note);

private:
    void markLenientReading();

    std::uint32_t tag_;
    BrinoraAppController* delegate_;
    QString lenientNote_;
    QString fieldName_;
};

// A read-only field that shows a result slot.
class OutputTextField : public QLineEdit, public BoundField {
    Q_OBJECT
public:
    OutputTextField(std::uint32_t tag, BrinoraAppController* delegate, QWidget* parent = nullptr);

    std::uint32_t tag() const override { return tag_; }
    std::string text() const override;
    void setText(std::string_view text) override;

    // Sends registerOutput: with itself to the delegate.
    void registerSelf();
    void pullValue();
    void clearValue();

private:
    std::uint32_t tag_;
    BrinoraAppController* delegate_;
};

}  // namespace brinora
