// `brinora plot FILE -o figure.svg|png`: a graph of an output or batch input
// file, drawn without a display.
#pragma once

#include <CLI/CLI.hpp>

namespace brinora::cli {

// Registers the subcommand; its callback sets `exitStatus`.
void addPlotCommand(CLI::App& app, int& exitStatus);

}  // namespace brinora::cli
