// `brinora calc`: one sample from the command line.
#pragma once

#include <CLI/CLI.hpp>

namespace brinora::cli {

// Registers the subcommand; its callback sets `exitStatus`.
void addCalcCommand(CLI::App& app, int& exitStatus);

}  // namespace brinora::cli
