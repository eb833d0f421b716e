#include "gui/bound_fields.h"

#include "gui/brinora_app_controller.h"

namespace brinora {

namespace {

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

InputTextField::InputTextField(std::uint32_t tag, BrinoraAppController* delegate, QWidget* parent)
    : QLineEdit(parent), tag_(tag), delegate_(delegate) {
    setAlignment(Qt::AlignRight);
    registerSelf();
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
