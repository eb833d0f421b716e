// brinora: the carbonate system of seawater from the command line.
#include <CLI/CLI.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "cli/batch_commands.h"
#include "cli/calc_command.h"
#include "cli/process_guard.h"
#include "cli/stored_settings.h"
#include "cli/usage_errors.h"
#ifdef BRINORA_HAVE_PLOT
#include "cli/plot_command.h"
#endif

namespace {

// What went to standard output must have reached it: a full device is an
// error of the command, not a silent loss. Returns the exit status.
int finishStandardOutput(int status) {
    errno = 0;
    const bool flushed = std::fflush(stdout) == 0;
    if (flushed && std::ferror(stdout) == 0) return status;
    const int error = errno;
    std::fprintf(stderr, "brinora: cannot write to standard output: %s\n",
                 error != 0 ? std::strerror(error) : "write error");
    return status == 0 ? 1 : status;
}

int run(int argc, char** argv) {
    CLI::App app{"Brinora: the carbonate system of seawater"};
    app.set_version_flag("--version", "brinora 0.1.0");
    app.require_subcommand(1);
    app.footer(std::string("Environment:\n  ") + brinora::cli::kSettingsFileVariable +
               "=FILE\n"
               "      an INI file to read the stored settings from instead of the desktop program's own;\n"
               "      batch, preview and kml take the options not given on the command line from them");

    int exitStatus = 0;
    brinora::cli::addCalcCommand(app, exitStatus);
    brinora::cli::addBatchCommand(app, exitStatus);
    brinora::cli::addPreviewCommand(app, exitStatus);
    brinora::cli::addKmlCommand(app, exitStatus);
    brinora::cli::addRepairCommand(app, exitStatus);
#ifdef BRINORA_HAVE_PLOT
    brinora::cli::addPlotCommand(app, exitStatus);
#endif

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        // Every command-line error: one short message and status 2.
        std::fputs(brinora::cli::usageErrorText(app, e).c_str(), stderr);
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "brinora: %s\n", e.what());
        return 1;
    }
    return exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
    // Descriptors 0-2 are never an output file; signals stop a run cleanly.
    brinora::cli::openClosedStandardStreams();
    brinora::cli::watchStopSignals();
    // A closed pipe on standard output is a write error to report, not a
    // signal that ends the program before its output is put right.
    std::signal(SIGPIPE, SIG_IGN);
    return finishStandardOutput(run(argc, argv));
}
