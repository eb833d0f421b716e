// `brinora repair FILE`: rolls back an append to an output file that was cut
// short (killed, a power loss), using the journal the append left beside it.
#include <cstdio>
#include <memory>
#include <string>

#include "output/output_target.h"
#include "cli/batch_commands.h"

namespace brinora::cli {
namespace {

int runRepair(const std::string& path) {
    std::string line;
    OutputError error;
    if (!repairOutput(path, line, error)) {
        std::fprintf(stderr, "brinora repair: %s\n", error.message.c_str());
        return 1;
    }
    if (line.empty()) line = path + ": nothing to repair (no append was cut short)";
    std::printf("%s\n", line.c_str());
    return 0;
}

}  // namespace

void addRepairCommand(CLI::App& app, int& exitStatus) {
    auto path = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "repair", "Roll back an append to an output file that was cut short, so that the file holds only what it "
                  "held before that run");
    command->add_option("FILE", *path, "output file (CSV)")->required();
    command->callback([path, &exitStatus] { exitStatus = runRepair(*path); });
}

}  // namespace brinora::cli
