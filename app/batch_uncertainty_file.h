// The uncertainty file of a desktop batch run: the same file that `brinora
// batch INPUT -o OUTPUT --u-...` writes beside its output, its rows made by
// the batch pipeline's workers beside the records from the one read of the
// input (uncertainty::UncertaintyRows), for the choice of the uncertainty
// panel and the window's option menus. Written aside and renamed into place
// when the run's records are kept.
#pragma once

#include <memory>
#include <string>

#include "app/uncertainty_choice.h"
#include "output/output_target.h"
#include "pipeline/batch_pipeline.h"

namespace brinora {

class BatchUncertaintyFile : public ByteSink {
public:
    // Opens the file at the default name beside `output`
    // (<output stem>_uncertainty.csv, an earlier one is replaced) and writes
    // its header; false and error() when it cannot be.
    bool open(const std::string& input, const std::string& output, const UncertaintyChoice& choice,
              const OptionMenus& menus);
    // Asks `request` for the rows beside its records.
    void attach(BatchRequest& request);
    // Makes the file's bytes its content for good; false and error() on failure.
    bool commit();
    // Leaves the file as it was before the run.
    void abandon();

    const std::string& path() const { return path_; }
    const std::string& error() const { return error_; }

    bool write(std::string_view bytes) override;
    std::string errorMessage() const override;

private:
    uncertainty::UncertaintyRows rows_;
    std::unique_ptr<OutputTarget> target_;
    std::string path_;
    std::string error_;
};

}  // namespace brinora
