// What an output file holds at its start: the one check of the header line
// before records are added to a file, for the command line's append and the
// desktop program's batch run alike.
#pragma once

#include <string>
#include <string_view>

namespace brinora {

enum class OutputStart {
    kUnreadable,      // the file cannot be opened or read (errorNumber says why)
    kOtherContent,    // it does not begin with the header line
    kHeaderOnly,      // the header line and nothing after it
    kHoldsRecords,    // the header line and more
};

struct OutputStartCheck {
    OutputStart state = OutputStart::kUnreadable;
    int errorNumber = 0;  // errno of kUnreadable

    // The file begins with the header line, records after it or not.
    bool beginsWithHeader() const {
        return state == OutputStart::kHeaderOnly || state == OutputStart::kHoldsRecords;
    }
};

// Reads no more than the first header.size() + 1 bytes of the open file
// `fd`, from offset 0 (the file offset is left where it was).
OutputStartCheck examineOutputStart(int fd, std::string_view header);
// The same for the file at `path`, opened for reading and closed again.
OutputStartCheck examineOutputFile(const std::string& path, std::string_view header);

}  // namespace brinora
