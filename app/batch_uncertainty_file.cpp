#include "app/batch_uncertainty_file.h"

#include "uncertainty_io/uncertainty_path.h"

namespace brinora {

bool BatchUncertaintyFile::open(const std::string& input, const std::string& output, const UncertaintyChoice& choice,
                                const OptionMenus& menus) {
    path_ = uncertainty::DefaultUncertaintyPath(output);
    if (!rows_.prepare(uncertaintyFileOptionsOf(choice, menus), error_)) return false;
    OutputOptions outputOptions;
    outputOptions.inputPath = input;
    OutputError openError;
    target_ = OutputTarget::open(path_, OutputMode::kReplace, outputOptions, openError);
    if (!target_) {
        error_ = openError.message;
        return false;
    }
    if (!target_->write(rows_.header())) {
        error_ = target_->error().message;
        target_->abandon();
        target_.reset();
        return false;
    }
    return true;
}

void BatchUncertaintyFile::attach(BatchRequest& request) {
    request.sampleRows = &rows_;
    request.sampleRowsOutput = this;
}

bool BatchUncertaintyFile::write(std::string_view bytes) { return target_ && target_->write(bytes); }

std::string BatchUncertaintyFile::errorMessage() const { return target_ ? target_->error().message : error_; }

bool BatchUncertaintyFile::commit() {
    if (!target_) return false;
    if (!target_->commit()) {
        error_ = target_->error().message;
        return false;
    }
    return true;
}

void BatchUncertaintyFile::abandon() {
    if (target_) target_->abandon();
}

}  // namespace brinora
