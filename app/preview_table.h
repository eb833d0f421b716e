// The preview table's data: the "Dict" records of a preview run and the
// preview length shown by the stepper and the length field of the preview
// window. The toolkit's table view asks this model for its rows and cells.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "records/output_record.h"
#include "app/ui.h"

namespace brinora {

// Most rows the preview table shows, whatever length is stored.
inline constexpr int kMaxPreviewRows = 100000;

class PreviewTableModel {
public:
    PreviewTableModel(AppUi& ui, SettingsStore& defaults);

    // Appends one "Dict" record.
    void addToPreviewTable(DictRecord record);
    // Logs "preview Table cleared" and removes every record.
    void clearPreviewTable();

    // Row count of the table: the stored preview length (5 when it is 0), not
    // the number of records. Reloads previewTableLengthInt from the stored
    // "NumberOfLinesInPreview" and puts it on the stepper and the length field.
    int numberOfRowsInTableView();
    // Cell of the column whose identifier is `columnIdentifier` in row `row`:
    // "" beyond the records and for a key that the record lacks.
    std::string objectValue(std::string_view columnIdentifier, int row) const;

    // Action of the stepper and the length field: takes the sender's value.
    void controlDidChange(int senderValue);
    // Puts previewTableLengthInt on the stepper and into the length field.
    void updateControls();

    // The records, in file order.
    const std::vector<DictRecord>& previewTable() const { return previewTable_; }

    // Current preview length (process-wide in the design).
    std::int32_t previewTableLengthInt = 0;

    // Called after the records change (added or cleared), so that a view can reload.
    std::function<void()> onRecordsChanged;

private:
    AppUi& ui_;
    SettingsStore& defaults_;
    std::vector<DictRecord> previewTable_;
};

}  // namespace brinora
