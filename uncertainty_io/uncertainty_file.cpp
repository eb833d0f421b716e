// The uncertainty file's pass over a batch input.
#include "uncertainty_io/uncertainty_file.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <cstdlib>
#include <vector>

#include "engine/slots.h"
#include "input/fields.h"
#include "input/lenient_number.h"
#include "input/line_reader.h"
#include "input/line_rules.h"

namespace brinora::uncertainty {
namespace {

// What a companion column sets.
struct Target {
    enum Kind { kParameter, kSource, kCorrelation, kSampleId } kind;
    std::size_t index = 0;
};

bool TargetOf(std::string_view name, Target& target) {
    while (!name.empty() && (name.back() == '\r' || name.back() == ' ')) name.remove_suffix(1);
    while (!name.empty() && name.front() == ' ') name.remove_prefix(1);
    if (name == "SampleID") {
        target = {Target::kSampleId};
        return true;
    }
    if (name == "correlation") {
        target = {Target::kCorrelation};
        return true;
    }
    for (int code = 1; code <= 5; ++code) {
        if (name == ParameterOptionName(code).substr(2)) {
            target = {Target::kParameter, static_cast<std::size_t>(code)};
            return true;
        }
    }
    for (std::size_t s = kSalinity; s < kSourceCount; ++s) {
        if (name == SourceOptionName(static_cast<Source>(s)).substr(2)) {
            target = {Target::kSource, s};
            return true;
        }
    }
    return false;
}

// The companion file cut into lines; line 0 is the header.
std::vector<std::string_view> LinesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t end = text.find('\n', begin);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(begin, end - begin);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.push_back(line);
        begin = end + 1;
    }
    return lines;
}

bool ReadTargets(const UncertaintyFileOptions& options, std::vector<Target>& targets, std::string& error) {
    const std::vector<std::string_view> lines = LinesOf(options.companionText);
    if (lines.empty()) {
        error = options.companionName + ": the file is empty (a header line names its columns)";
        return false;
    }
    for (const std::string& name : splitFields(lines[0])) {
        Target t{Target::kSampleId};
        if (!TargetOf(name, t)) {
            error = options.companionName + ": the column '" + name +
                    "' is not one of SampleID, correlation, u-ta, u-tco2, u-ph, u-fco2, u-pco2, u-salinity, "
                    "u-temperature, u-pressure, u-phosphate, u-silicate, u-out-temperature, u-out-pressure, "
                    "u-pco2-air, u-wind, u-pk0 .. u-pksi, u-bt";
            return false;
        }
        targets.push_back(t);
    }
    return true;
}

// A sample line of the input, ready to compute.
struct Job {
    std::string id, name;
    UncertaintyRequest request;
    Sample sample;
    ChemistryOptions chemistry;
    bool given = false;  // two carbonate parameters
};
constexpr std::size_t kJobsPerChunk = 4096;

void AppendRow(const Job& job, const UncertaintyFileOptions& options, const UncertaintyColumns& columns,
               std::string& out) {
    UncertaintyRow row;
    if (job.given) {
        const auto u = SourceUncertainties(job.request, job.sample.first, job.sample.second);
        row.computed = Propagate(job.chemistry, job.sample, CovarianceOf(u, job.request.correlation),
                                 row.propagated) == Outcome::kComputed;
        if (row.computed && options.buffers) {
            row.computed = Buffers(job.chemistry, job.sample, row.in, row.out) == Outcome::kComputed;
        }
    }
    AppendUncertaintyRow(out, job.id, job.name, columns, row);
}

}  // namespace

bool CheckCompanion(const UncertaintyFileOptions& options, std::string& error) {
    if (options.companionName.empty()) return true;
    std::vector<Target> targets;
    return ReadTargets(options, targets, error);
}

UncertaintyColumns ColumnsOf(const UncertaintyFileOptions& options) {
    UncertaintyColumns columns;
    columns.budget = options.budget;
    columns.buffers = options.buffers;
    std::array<bool, kSourceCount> given{};
    bool parameters = false;
    for (std::size_t code = 1; code <= 5; ++code) parameters = parameters || options.request.parameter[code] != 0.0;
    for (std::size_t s = kSalinity; s < kSourceCount; ++s) given[s] = options.request.source[s] != 0.0;
    std::vector<Target> targets;
    std::string ignored;
    if (!options.companionName.empty() && ReadTargets(options, targets, ignored)) {
        for (const Target& t : targets) {
            if (t.kind == Target::kParameter) parameters = true;
            if (t.kind == Target::kSource) given[t.index] = true;
        }
    }
    given[kFirstParameter] = given[kSecondParameter] = parameters;
    for (std::size_t s = 0; s < kSourceCount; ++s) {
        if (given[s]) columns.budgetSources.push_back(s);
    }
    return columns;
}

bool WriteUncertaintyFile(const std::string& inputPath, const UncertaintyFileOptions& options,
                          const std::function<bool(std::string_view)>& write, std::string& error) {
    std::vector<Target> targets;
    std::vector<std::string_view> companion;
    if (!options.companionName.empty()) {
        if (!ReadTargets(options, targets, error)) return false;
        companion = LinesOf(options.companionText);
    }
    PresentedError openError;
    const int fd = openBatchInput(inputPath, openError);
    if (fd < 0) {
        error = openError.localizedDescription;
        return false;
    }
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    BatchLineReader reader(fd);
    const UncertaintyColumns columns = ColumnsOf(options);
    std::string out = options.header ? UncertaintyHeader(columns) : std::string();

    // Sample lines are gathered in chunks and computed on `threads` threads,
    // each into a part of the chunk's text, joined in file order.
    std::vector<Job> jobs;
    jobs.reserve(kJobsPerChunk);
    const unsigned threads = std::max(1u, options.threads);
    std::vector<std::string> parts(threads);
    const auto flush = [&]() -> bool {
        const std::size_t per = (jobs.size() + threads - 1) / threads;
        const auto work = [&](unsigned t) {
            parts[t].clear();
            const std::size_t end = std::min(jobs.size(), (t + 1) * per);
            for (std::size_t j = t * per; j < end; ++j) AppendRow(jobs[j], options, columns, parts[t]);
        };
        if (threads == 1 || jobs.size() < 2 * threads) {
            parts[0].clear();
            for (const Job& job : jobs) AppendRow(job, options, columns, parts[0]);
            out += parts[0];
        } else {
            std::vector<std::thread> pool;
            for (unsigned t = 1; t < threads; ++t) pool.emplace_back(work, t);
            work(0);
            for (std::thread& thread : pool) thread.join();
            for (const std::string& part : parts) out += part;
        }
        jobs.clear();
        if (!out.empty()) {
            if (!write(out)) {
                error.clear();
                return false;
            }
            out.clear();
        }
        return true;
    };

    StreamLine line;
    bool header = true;
    std::size_t samples = 0;
    BatchFields fields;
    std::vector<std::string> values;
    while (reader.next(line)) {
        if (header) {
            header = false;
            continue;
        }
        splitBatchFields(line.text, fields);
        const LineCheck check = checkBatchLine(fields);
        if (check.verdict == LineVerdict::kStop) break;
        if (check.verdict == LineVerdict::kNothing) continue;
        ++samples;

        UncertaintyRequest request = options.request;
        if (!targets.empty()) {
            if (samples >= companion.size()) {
                error = options.companionName + ": no row for sample " + std::to_string(samples) + " (line " +
                        std::to_string(line.sourceLine) + " of the input)";
                return false;
            }
            values = splitFields(companion[samples]);
            for (std::size_t c = 0; c < targets.size() && c < values.size(); ++c) {
                const std::string& text = values[c];
                if (targets[c].kind == Target::kSampleId) {
                    if (text != fields[kSampleIdField]) {
                        error = options.companionName + ": row " + std::to_string(samples) + " is for SampleID '" +
                                text + "' but the input's sample line " + std::to_string(line.sourceLine) +
                                " is '" + std::string(fields[kSampleIdField]) + "'";
                        return false;
                    }
                    continue;
                }
                if (text.empty()) continue;
                const double v = lenientDouble(text);
                if (targets[c].kind == Target::kParameter) request.parameter[targets[c].index] = v;
                if (targets[c].kind == Target::kSource) request.source[targets[c].index] = v;
                if (targets[c].kind == Target::kCorrelation) request.correlation = v;
            }
        }

        Job& job = jobs.emplace_back();
        job.id.assign(fields[kSampleIdField]);
        job.name.assign(fields[1]);
        job.request = request;
        Board board;
        board.set(slot::kConstantsSet, static_cast<float>(options.options.whichKs - 1));
        board.set(slot::kKHSO4, static_cast<float>(options.options.whichKSO4 - 1));
        board.set(slot::kpHScale, static_cast<float>(options.options.pHScale - 1));
        board.set(slot::kAirSeaFlux, static_cast<float>(options.options.fluxCode));
        for (std::size_t k = kFirstSampleValueField; k <= kLastSampleValueField; ++k) {
            board.set(static_cast<std::uint32_t>(k + 5), lenientFloat(fields[k]));
        }
        job.given = SampleOfBoard(board, job.sample, job.chemistry);
        if (jobs.size() == kJobsPerChunk && !flush()) return false;
    }
    if (!flush()) return false;
    if (reader.failed()) {
        error = batchInputError(inputPath, reader).localizedDescription;
        return false;
    }
    if (!out.empty() && !write(out)) {
        error.clear();
        return false;
    }
    return true;
}

}  // namespace brinora::uncertainty
