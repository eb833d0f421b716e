#include "app/batch_uncertainty_file.h"

#include <memory>

#include "output/output_target.h"
#include "uncertainty_io/uncertainty_path.h"

namespace brinora {

UncertaintyFileResult writeBatchUncertaintyFile(const std::string& input, const std::string& output,
                                                const UncertaintyChoice& choice, const OptionMenus& menus) {
    UncertaintyFileResult result;
    result.path = uncertainty::DefaultUncertaintyPath(output);
    const uncertainty::UncertaintyFileOptions options = uncertaintyFileOptionsOf(choice, menus);
    OutputOptions outputOptions;
    outputOptions.inputPath = input;
    OutputError openError;
    std::unique_ptr<OutputTarget> target =
        OutputTarget::open(result.path, OutputMode::kReplace, outputOptions, openError);
    if (!target) {
        result.error = openError.message;
        return result;
    }
    std::string error;
    const bool written = uncertainty::WriteUncertaintyFile(
        input, options, [&target](std::string_view bytes) { return target->write(bytes); }, error);
    if (!written) {
        result.error = error.empty() ? target->error().message : error;
        target->abandon();
        return result;
    }
    if (!target->commit()) {
        result.error = target->error().message;
        return result;
    }
    result.written = true;
    return result;
}

}  // namespace brinora
