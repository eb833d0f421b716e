#include "app/preview_table.h"

#include <algorithm>

#include "app/settings_keys.h"
#include "input/lenient_number.h"

namespace brinora {

PreviewTableModel::PreviewTableModel(AppUi& ui, SettingsStore& defaults)
    : ui_(ui), defaults_(defaults) {}

void PreviewTableModel::addToPreviewTable(DictRecord record) {
    previewTable_.push_back(std::move(record));
    if (onRecordsChanged) onRecordsChanged();
}

void PreviewTableModel::clearPreviewTable() {
    ui_.logLine("preview Table cleared");
    previewTable_.clear();
    if (onRecordsChanged) onRecordsChanged();
}

int PreviewTableModel::numberOfRowsInTableView() {
    previewTableLengthInt =
        lenientInteger(defaults_.value(settings::kNumberOfLinesInPreview).value_or(""));
    updateControls();
    ui_.setText(TextField::PreviewTableLength, std::to_string(previewTableLengthInt));
    const int length = lenientInteger(ui_.text(TextField::PreviewTableLength));
    // A stored length below 0 shows no row; one beyond kMaxPreviewRows shows
    // that many (a table of millions of empty rows helps no one).
    if (length == 0) return 5;
    return std::clamp(length, 0, kMaxPreviewRows);
}

std::string PreviewTableModel::objectValue(std::string_view columnIdentifier, int row) const {
    if (row < 0 || static_cast<std::size_t>(row) >= previewTable_.size()) return {};
    const DictRecord& record = previewTable_[static_cast<std::size_t>(row)];
    const auto found = record.find(columnIdentifier);
    return found == record.end() ? std::string() : found->second;
}

void PreviewTableModel::controlDidChange(int senderValue) {
    previewTableLengthInt = senderValue;
    updateControls();
}

void PreviewTableModel::updateControls() {
    ui_.setStepperValue(previewTableLengthInt);
    ui_.setText(TextField::PreviewTableLength, std::to_string(previewTableLengthInt));
}

}  // namespace brinora
