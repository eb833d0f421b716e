#include "gui/bound_fields.h"

#include "input/lenient_number.h"
#include "gui/brinora_app_controller.h"
#include "gui/qt_text.h"

namespace brinora {

InputTextField::InputTextField(std::uint32_t tag, BrinoraAppController* delegate, QWidget* parent)
    : QLineEdit(parent), tag_(tag), delegate_(delegate) {
    setAlignment(Qt::AlignRight);
    registerSelf();
    connect(this, &QLineEdit::textChanged, this, &InputTextField::markLenientReading);
}

QString InputTextField::lenientReadingNoteFor(const QString& text) {
    const std::string typed = text.toStdString();
    const NumberSpan span = leadingNumber(typed);
    std::size_t end = span.end;
    while (end < typed.size() && (typed[end] == ' ' || typed[end] == '\t')) ++end;
    if (typed.find_first_not_of(" \t") == std::string::npos) return {};
    if (span.start == span.end) return tr("“%1” is not a number and is read as 0.").arg(text);
    if (end < typed.size()) {
        return tr("“%1” is read as %2; the rest is ignored.")
            .arg(text, QString::fromStdString(typed.substr(span.start, span.end - span.start)));
    }
    return {};
}

void InputTextField::markLenientReading() {
    const QString note = lenientReadingNoteFor(QLineEdit::text());
    if (note == lenientNote_) return;
    lenientNote_ = note;
    setProperty("lenientReading", !note.isEmpty());
    setToolTip(note);
    setStyleSheet(note.isEmpty() ? QString() : QStringLiteral("QLineEdit { border: 2px solid #c0392b; }"));
    Q_EMIT lenientReadingChanged(note);
}

bool InputTextField::readAsZero() const {
    const std::string typed = QLineEdit::text().toStdString();
    if (typed.find_first_not_of(" \t") == std::string::npos) return false;
    const NumberSpan span = leadingNumber(typed);
    return span.start == span.end;
}

std::string InputTextField::text() const { return QLineEdit::text().toStdString(); }

void InputTextField::setText(std::string_view text) { QLineEdit::setText(toQString(text)); }

void InputTextField::registerSelf() { delegate_->registerInput(this); }
void InputTextField::pushValue() { delegate_->pushInputValue(this); }
void InputTextField::pullValue() { delegate_->pullOutputValue(this); }
void InputTextField::clearValue() { delegate_->clearOutputValue(this); }

OutputTextField::OutputTextField(std::uint32_t tag, BrinoraAppController* delegate, QWidget* parent)
    : QLineEdit(parent), tag_(tag), delegate_(delegate) {
    setReadOnly(true);
    setAlignment(Qt::AlignRight);
    setFocusPolicy(Qt::ClickFocus);
    registerSelf();
}

std::string OutputTextField::text() const { return QLineEdit::text().toStdString(); }

void OutputTextField::setText(std::string_view text) { QLineEdit::setText(toQString(text)); }

void OutputTextField::registerSelf() { delegate_->registerOutput(this); }
void OutputTextField::pullValue() { delegate_->pullOutputValue(this); }
void OutputTextField::clearValue() { delegate_->clearOutputValue(this); }

}  // namespace brinora
