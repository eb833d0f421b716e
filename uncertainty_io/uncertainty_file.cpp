// The uncertainty file's pass over a batch input.
#include "uncertainty_io/uncertainty_file.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <thread>
#include <vector>

#include "engine/slots.h"
#include "input/fields.h"
#include "input/lenient_number.h"
#include "input/line_reader.h"
#include "input/line_rules.h"

namespace brinora::uncertainty {
namespace {

using Target = CompanionColumn;

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

// Index of pair (first, second), 1 <= first < second <= 5, among the 10 pairs.
std::size_t PairIndex(int first, int second) {
    return static_cast<std::size_t>(5 * (first - 1) + (second - 1));
}
constexpr std::size_t kPairIndices = 25;

// Lines of the input gathered for the threads of WriteUncertaintyFile.
constexpr std::size_t kLinesPerChunk = 4096;

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

bool UncertaintyRows::prepare(const UncertaintyFileOptions& options, std::string& error) {
    options_ = options;
    targets_.clear();
    companion_.clear();
    if (!options_.companionName.empty()) {
        if (!ReadTargets(options_, targets_, error)) return false;
        companion_ = LinesOf(options_.companionText);
    }
    columns_ = ColumnsOf(options_);
    plans_.assign(kPairIndices, CovariancePlan{});
    for (int first = 1; first <= 5; ++first) {
        for (int second = first + 1; second <= 5; ++second) {
            plans_[PairIndex(first, second)] = PlanOf(
                CovarianceOf(SourceUncertainties(options_.request, first, second), options_.request.correlation));
        }
    }
    return true;
}

std::string UncertaintyRows::header() const { return options_.header ? UncertaintyHeader(columns_) : std::string(); }

bool UncertaintyRows::append(const BatchFields& fields, std::size_t sample, int sourceLine, std::string& out,
                             std::string& error) const {
    UncertaintyRequest request = options_.request;
    bool own = false;  // the companion file gives this sample's uncertainties
    if (!targets_.empty()) {
        if (sample >= companion_.size()) {
            error = options_.companionName + ": no row for sample " + std::to_string(sample) + " (line " +
                    std::to_string(sourceLine) + " of the input)";
            return false;
        }
        const std::vector<std::string> values = splitFields(companion_[sample]);
        for (std::size_t c = 0; c < targets_.size() && c < values.size(); ++c) {
            const std::string& text = values[c];
            if (targets_[c].kind == Target::kSampleId) {
                if (text != fields[kSampleIdField]) {
                    error = options_.companionName + ": row " + std::to_string(sample) + " is for SampleID '" + text +
                            "' but the input's sample line " + std::to_string(sourceLine) + " is '" +
                            std::string(fields[kSampleIdField]) + "'";
                    return false;
                }
                continue;
            }
            if (text.empty()) continue;
            own = true;
            const double v = lenientDouble(text);
            if (targets_[c].kind == Target::kParameter) request.parameter[targets_[c].index] = v;
            if (targets_[c].kind == Target::kSource) request.source[targets_[c].index] = v;
            if (targets_[c].kind == Target::kCorrelation) request.correlation = v;
        }
    }

    Board board;
    board.set(slot::kConstantsSet, static_cast<float>(options_.options.whichKs - 1));
    board.set(slot::kKHSO4, static_cast<float>(options_.options.whichKSO4 - 1));
    board.set(slot::kpHScale, static_cast<float>(options_.options.pHScale - 1));
    board.set(slot::kAirSeaFlux, static_cast<float>(options_.options.fluxCode));
    for (std::size_t k = kFirstSampleValueField; k <= kLastSampleValueField; ++k) {
        board.set(static_cast<std::uint32_t>(k + 5), lenientFloat(fields[k]));
    }
    Sample s;
    ChemistryOptions chemistry;
    UncertaintyRow row;
    if (SampleOfBoard(board, s, chemistry)) {
        std::optional<CovariancePlan> ownPlan;
        if (own) ownPlan = PlanOf(CovarianceOf(SourceUncertainties(request, s.first, s.second), request.correlation));
        const CovariancePlan& plan = own ? *ownPlan : plans_[PairIndex(s.first, s.second)];
        row.computed = Propagate(chemistry, s, plan, row.propagated) == Outcome::kComputed;
        if (row.computed && options_.buffers) {
            row.computed = Buffers(chemistry, s, row.in, row.out) == Outcome::kComputed;
        }
    }
    AppendUncertaintyRow(out, fields[kSampleIdField], fields[1], columns_, row);
    return true;
}

bool WriteUncertaintyFile(const std::string& inputPath, const UncertaintyFileOptions& options,
                          const std::function<bool(std::string_view)>& write, std::string& error) {
    UncertaintyRows rows;
    if (!rows.prepare(options, error)) return false;
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
    std::string out = rows.header();

    // Sample lines are gathered in chunks and their rows made on `threads`
    // threads, each into a part of the chunk's text, joined in file order;
    // the first line in file order that has no row ends the pass.
    struct Line {
        std::string text;
        std::size_t sample = 0;
        int sourceLine = 0;
    };
    std::vector<Line> lines;
    lines.reserve(kLinesPerChunk);
    const unsigned threads = std::max(1u, options.threads);
    struct Part {
        std::string text, error;
        bool failed = false;
    };
    std::vector<Part> parts(threads);
    const auto flush = [&]() -> bool {
        const unsigned used = threads == 1 || lines.size() < 2 * threads ? 1 : threads;
        const std::size_t per = (lines.size() + used - 1) / used;
        const auto work = [&](unsigned t) {
            Part& part = parts[t];
            part.text.clear();
            part.failed = false;
            const std::size_t end = std::min(lines.size(), (t + 1) * per);
            BatchFields fields;
            for (std::size_t j = t * per; j < end && !part.failed; ++j) {
                splitBatchFields(lines[j].text, fields);
                part.failed = !rows.append(fields, lines[j].sample, lines[j].sourceLine, part.text, part.error);
            }
        };
        std::vector<std::thread> pool;
        for (unsigned t = 1; t < used; ++t) pool.emplace_back(work, t);
        work(0);
        for (std::thread& thread : pool) thread.join();
        for (unsigned t = 0; t < used; ++t) {
            out += parts[t].text;
            if (parts[t].failed) {
                error = parts[t].error;
                return false;
            }
        }
        lines.clear();
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
    while (reader.next(line)) {
        if (header) {
            header = false;
            continue;
        }
        splitBatchFields(line.text, fields);
        const LineCheck check = checkBatchLine(fields);
        if (check.verdict == LineVerdict::kStop) break;
        if (check.verdict == LineVerdict::kNothing) continue;
        lines.push_back({std::string(line.text), ++samples, line.sourceLine});
        if (lines.size() == kLinesPerChunk && !flush()) return false;
    }
    if (!flush()) return false;
    if (reader.failed()) {
        error = batchInputError(inputPath, reader).localizedDescription;
        return false;
    }
    return true;
}

}  // namespace brinora::uncertainty
