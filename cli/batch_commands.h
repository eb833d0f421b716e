// `brinora batch`, `brinora preview` and `brinora kml`: batch input files from
// the command line, over the same controller code as the desktop program.
#pragma once

#include <CLI/CLI.hpp>

namespace brinora::cli {

// Each registers its subcommand; the subcommand's callback sets `exitStatus`.
void addBatchCommand(CLI::App& app, int& exitStatus);
void addPreviewCommand(CLI::App& app, int& exitStatus);
void addKmlCommand(CLI::App& app, int& exitStatus);
// `brinora repair FILE`: rolls back an append that was cut short.
void addRepairCommand(CLI::App& app, int& exitStatus);

}  // namespace brinora::cli
