#include "graph/graph_columns.h"

#include <array>
#include <cctype>
#include <vector>

#include "records/output_record.h"
#include "engine/quantities.h"
#include "engine/slots.h"

namespace brinora::graph {

namespace {

// A plottable column of quantity `q` at 0-based field `field` of a line.
GraphColumn columnOf(const Quantity& q, std::size_t field) {
    return GraphColumn{q.graphKey, q.graphTitle, q.displayUnit, field, q.depthLike};
}

// Columns 7 to 47 of the output record (fields 6 to 46), in record order.
std::vector<GraphColumn> makeOutputColumns() {
    std::vector<GraphColumn> columns;
    for (const Quantity* q : recordNumberColumns()) {
        columns.push_back(columnOf(*q, static_cast<std::size_t>(q->recordColumn - 1)));
    }
    return columns;
}

// Fields 6 to 19 of a batch input line: the sample inputs in board order.
// The carbonate inputs are the ones measured, at the input conditions.
std::vector<GraphColumn> makeBatchInputColumns() {
    std::vector<GraphColumn> columns;
    for (const Quantity& q : quantities()) {
        if (q.input) columns.push_back(columnOf(q, q.slot - slot::kSalinity + 6));
    }
    return columns;
}

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

bool startsIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && equalIgnoringCase(text.substr(0, prefix.size()), prefix);
}

std::string quotedList(std::span<const GraphColumn> columns, std::span<const std::size_t> which) {
    std::string list;
    for (const std::size_t i : which) {
        if (!list.empty()) list += ", ";
        list += '"';
        list += columns[i].name;
        list += '"';
    }
    return list;
}

}  // namespace

std::span<const GraphColumn> outputColumns() {
    static const std::vector<GraphColumn> columns = makeOutputColumns();
    return columns;
}

std::span<const GraphColumn> batchInputColumns() {
    static const std::vector<GraphColumn> columns = makeBatchInputColumns();
    return columns;
}

std::span<const GraphColumn> columnsOf(FileKind kind) {
    return kind == FileKind::Output ? outputColumns() : batchInputColumns();
}

std::string axisLabel(const GraphColumn& column) {
    std::string label(column.title);
    if (!column.unit.empty()) {
        label += " (";
        label += column.unit;
        label += ')';
    }
    return label;
}

ColumnMatch findColumn(std::span<const GraphColumn> columns, std::string_view wanted,
                       std::span<const std::string> headerNames) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (equalIgnoringCase(columns[i].name, wanted) || equalIgnoringCase(axisLabel(columns[i]), wanted)) {
            return {i, {}};
        }
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::size_t field = columns[i].field;
        if (field < headerNames.size() && !headerNames[field].empty() &&
            equalIgnoringCase(headerNames[field], wanted)) {
            return {i, {}};
        }
    }
    std::vector<std::size_t> candidates;
    if (!wanted.empty()) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (startsIgnoringCase(columns[i].name, wanted)) candidates.push_back(i);
        }
    }
    if (candidates.size() == 1) return {candidates.front(), {}};

    std::string message = "\"";
    message += wanted;
    message += "\" ";
    if (candidates.empty()) {
        std::vector<std::size_t> all(columns.size());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
        message += "matches no column. Available: " + quotedList(columns, all) + ".";
    } else {
        message += "matches several columns: " + quotedList(columns, candidates) + ".";
    }
    return {std::nullopt, message};
}

std::optional<std::size_t> columnNamed(std::span<const GraphColumn> columns, std::string_view name) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].name == name) return i;
    }
    return std::nullopt;
}

}  // namespace brinora::graph
