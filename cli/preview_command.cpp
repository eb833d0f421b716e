// `brinora preview INPUT.csv`: the first lines of a batch, computed and shown
// as a table.
#include <cstdio>
#include <memory>

#include <algorithm>

#include "app/preview_table.h"
#include "app/settings_keys.h"
#include "cli/batch_commands.h"
#include "cli/batch_support.h"
#include "cli/flag_values.h"
#include "input/lenient_number.h"
#include "records/output_record.h"

namespace brinora::cli {
namespace {

// Whether a stored preview length is a plain number of lines (digits only).
bool isLineCount(std::string_view text) {
    if (text.empty() || text.size() > 9) return false;
    for (const char c : text) {
        if (c < '0' || c > '9') return false;
    }
    return true;
}

// At most 40 characters of `text`, for messages.
std::string brief(std::string_view text) {
    return text.size() <= 40 ? std::string(text) : std::string(text.substr(0, 37)) + "...";
}

// Columns shown when none are chosen.
const std::vector<std::string> kDefaultColumns = {
    "SampleID", "Name",  "Salinity", "Temperature", "Pressure", "TA",       "TCO2",     "pH",
    "fCO2",     "pCO2",  "CO3",      "Omega Ar",    "Revelle",  "Output pH", "CO2 Flux",
};

// Columns that hold text; the others are numbers and are aligned right.
bool isTextColumn(std::string_view key) {
    for (const std::string_view text : {"SampleID", "Name", "Time", "Date", "Latitude", "Longitude", "Comment",
                                        "Windspeed Units", "CO2 Constants", "KHSO4", "pH Scale", "Air-Sea Flux"}) {
        if (key == text) return true;
    }
    return false;
}

// Width of `text` on a terminal: its number of UTF-8 code points.
std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    for (const char c : text) width += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return width;
}

// Cells are shown on one line: line ends and tabs become blanks.
std::string oneLine(std::string text) {
    for (char& c : text) {
        if (c == '\r' || c == '\n' || c == '\t') c = ' ';
    }
    return text;
}

struct PreviewArgs {
    std::string input;
    std::optional<int> lines;
    std::vector<std::string> columns;
    OptionFlags options;
    bool verbose = false;
};

int runPreview(const PreviewArgs& args) {
    Session session("preview");
    const auto logToStderr = verboseLog(args.verbose);

    const std::vector<std::string>& columns = args.columns.empty() ? kDefaultColumns : args.columns;
    for (const std::string& column : columns) {
        bool known = false;
        for (const auto key : dictRecordKeys()) known = known || key == column;
        if (!known) {
            std::string keys;
            for (const auto key : dictRecordKeys()) keys += (keys.empty() ? "" : ", ") + std::string(key);
            session.error("there is no column \"" + column + "\"; the columns are: " + keys);
            return 2;
        }
    }

    if (const int status = applyOptions(session, args.options); status != 0) return status;
    if (!checkStandardInput(session, args.input)) return 1;
    std::string length;
    if (args.lines) {
        length = std::to_string(*args.lines);
    } else if (const auto stored = session.defaults.value(settings::kNumberOfLinesInPreview)) {
        length = *stored;
        if (!isLineCount(*stored)) {
            session.error("warning: the stored setting \"NumberOfLinesInPreview\" holds \"" + brief(*stored) +
                          "\", which is not a number of lines; showing 5 (give -n to choose)");
            length = "5";
        }
    }

    // The lines up to the preview length (5 when none is stored), one thread.
    PipelineRun run;
    run.request.input = args.input;
    run.request.mode = RunMode::kPreview;
    const int lastLine = length.empty() ? 5 : lenientInteger(length);
    run.request.previewLines = lastLine < 0 ? 0 : static_cast<std::size_t>(lastLine);
    std::vector<DictRecord> table;
    const BatchResult result = runPipeline(session, run, [&table](DictRecord row) { table.push_back(std::move(row)); });
    if (const int status = runEndStatus(session, args.input, result); status != 0) return status;

    // The table: as many rows as the preview shows records (a stored length
    // of 0 shows 5 rows).
    const int shown = lenientInteger(length);
    const int wanted = shown == 0 ? 5 : std::clamp(shown, 0, kMaxPreviewRows);
    const int rows = std::max(0, std::min(wanted, static_cast<int>(table.size())));
    const auto cell = [&table](const std::string& column, int row) {
        const DictRecord& record = table[static_cast<std::size_t>(row)];
        const auto found = record.find(column);
        return found == record.end() ? std::string() : found->second;
    };
    std::vector<std::vector<std::string>> cells(static_cast<std::size_t>(rows) + 1);
    for (const std::string& column : columns) cells[0].push_back(column);
    for (int row = 0; row < rows; ++row) {
        for (const std::string& column : columns) {
            cells[static_cast<std::size_t>(row) + 1].push_back(oneLine(cell(column, row)));
        }
    }
    std::vector<std::size_t> widths(columns.size(), 0);
    for (const auto& line : cells) {
        for (std::size_t c = 0; c < line.size(); ++c) widths[c] = std::max(widths[c], displayWidth(line[c]));
    }
    for (const auto& line : cells) {
        std::string text;
        for (std::size_t c = 0; c < line.size(); ++c) {
            const std::string padding(widths[c] - displayWidth(line[c]), ' ');
            const bool last = c + 1 == line.size();
            if (c > 0) text += "  ";
            if (isTextColumn(columns[c])) {
                text += line[c];
                if (!last) text += padding;
            } else {
                text += padding + line[c];
            }
        }
        std::puts(text.c_str());
    }
    return 0;
}

}  // namespace

void addPreviewCommand(CLI::App& app, int& exitStatus) {
    auto args = std::make_shared<PreviewArgs>();
    CLI::App* command = app.add_subcommand(
        "preview", "Compute the first lines of a batch input file and print them as a table; nothing is written");
    command->add_option("INPUT", args->input, "batch input file (CSV, a header and 21 fields per line)")
        ->required();
    command->add_option("-n,--lines", args->lines,
                        "number of lines to preview; default: stored setting \"NumberOfLinesInPreview\", else 5")
        ->transform(wholeNumberCheck(0, 2147483647))
        ->option_text("N");
    command->add_option("--columns", args->columns, "columns to show, as keys of the preview record")
        ->delimiter(',')
        ->option_text("KEY,...");
    addOptionFlags(*command, args->options);
    addQuietFlag(*command);
    command->add_flag("-v,--verbose", args->verbose, "print the log lines on stderr");
    command->callback([args, &exitStatus] { exitStatus = runPreview(*args); });
}

}  // namespace brinora::cli
