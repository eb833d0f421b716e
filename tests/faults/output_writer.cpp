// brinora_output_writer MODE PATH TAG BLOCKS: writes one run through
// OutputTarget (MODE create, replace or append; appends check the header
// line) and commits it. Prints the rollback line of an append, if any, on
// standard output and the error on standard error (exit status 1).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "output/output_target.h"
#include "output_writer.h"

int main(int argc, char** argv) {
    using namespace brinora;
    if (argc != 5) {
        std::fprintf(stderr, "usage: brinora_output_writer create|replace|append PATH TAG BLOCKS\n");
        return 2;
    }
    const std::string modeName = argv[1];
    const OutputMode mode = modeName == "create"    ? OutputMode::kCreate
                            : modeName == "replace" ? OutputMode::kReplace
                                                    : OutputMode::kAppend;
    const char tag = argv[3][0];
    const int blocks = std::atoi(argv[4]);
    OutputOptions options;
    if (mode == OutputMode::kAppend) options.expectedHeader = faults::kWriterHeader;
    OutputError error;
    std::string note;
    auto target = OutputTarget::open(argv[2], mode, options, error, &note);
    if (!note.empty()) std::printf("%s\n", note.c_str());
    std::fflush(stdout);
    if (!target) {
        std::fprintf(stderr, "%s\n", error.message.c_str());
        return 1;
    }
    bool ok = mode == OutputMode::kAppend || target->write(faults::kWriterHeader);
    for (int i = 0; ok && i < blocks; ++i) ok = target->write(faults::writerBlock(tag, i));
    if (ok) ok = target->commit();
    if (!ok) {
        std::fprintf(stderr, "%s\n", target->error().message.c_str());
        return 1;
    }
    return 0;
}
