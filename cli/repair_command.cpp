// `brinora repair FILE`: rolls back an append to an output file that was cut
// short (killed, a power loss), using the journal the append left beside it;
// `--discard` removes such a journal and keeps the file as it is. Temporary
// files of runs that ended early beside the file are removed and named.
#include <cstdio>
#include <memory>
#include <string>

#include "output/output_target.h"
#include "cli/batch_commands.h"

namespace brinora::cli {
namespace {

struct RepairArgs {
    std::string path;
    bool discard = false;
};

int runRepair(const RepairArgs& args) {
    RepairReport report;
    OutputError error;
    const bool ok = repairOutput(args.path, report, error, args.discard);
    for (const std::string& line : report.warnings) std::fprintf(stderr, "brinora repair: %s\n", line.c_str());
    for (const std::string& line : report.lines) std::printf("%s\n", line.c_str());
    if (!ok) {
        std::fprintf(stderr, "brinora repair: %s\n", error.message.c_str());
        return 1;
    }
    bool acted = false;
    for (const std::string& line : report.lines) {
        acted = acted || line.starts_with(args.path + ": ");
    }
    if (!acted) {
        std::printf("%s\n", (args.path + ": nothing to repair (no journal of an append cut short was found beside "
                                         "it or where the file was before)")
                                .c_str());
    }
    return 0;
}

}  // namespace

void addRepairCommand(CLI::App& app, int& exitStatus) {
    auto args = std::make_shared<RepairArgs>();
    CLI::App* command = app.add_subcommand(
        "repair", "Roll back an append to an output file that was cut short, so that the file holds only what it "
                  "held before that run");
    command->add_option("FILE", args->path, "output file (CSV)")->required();
    command->add_flag("--discard", args->discard,
                      "remove the journal of an append cut short without cutting anything: the file keeps every "
                      "byte it has (for a journal that does not fit the file)");
    command->callback([args, &exitStatus] { exitStatus = runRepair(*args); });
}

}  // namespace brinora::cli
