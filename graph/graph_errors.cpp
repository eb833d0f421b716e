#include "graph/graph_errors.h"

#include <fstream>
#include <sstream>

#include "engine/quantities.h"
#include "uncertainty_io/sample_uncertainty.h"

namespace brinora::graph {

namespace {

std::vector<std::string_view> splitFields(std::string_view line) {
    std::vector<std::string_view> fields;
    std::size_t begin = 0;
    while (true) {
        const std::size_t comma = line.find(',', begin);
        fields.push_back(line.substr(begin, comma == std::string_view::npos ? std::string_view::npos : comma - begin));
        if (comma == std::string_view::npos) break;
        begin = comma + 1;
    }
    return fields;
}

// A header name without its unit: "u_pco2 (uatm)" is "u_pco2".
std::string_view withoutUnit(std::string_view name) {
    const std::size_t open = name.find(" (");
    return open == std::string_view::npos ? name : name.substr(0, open);
}

}  // namespace

std::string uncertaintyColumnOf(const GraphColumn& column) {
    for (const brinora::Quantity& q : quantities()) {
        if (q.graphKey != column.name || q.input) continue;
        const std::size_t k = uncertainty::QuantityOfRow(&q);
        if (k != uncertainty::kNoQuantity) return "u_" + std::string(uncertainty::kQuantityNames[k]);
    }
    return "";
}

ErrorBarsLoad readErrorBars(const std::string& path, const GraphTable& table) {
    ErrorBarsLoad load;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        load.message = "The uncertainty file " + path + " cannot be read.";
        return load;
    }
    std::string line;
    if (!std::getline(in, line) || line.rfind("SampleID,Name,u_", 0) != 0) {
        load.message = path + " is not an uncertainty file of Brinora.";
        return load;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::vector<std::string_view> header = splitFields(line);
    const auto columns = table.columns();
    std::vector<std::size_t> fieldOf(columns.size(), header.size());
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const std::string name = uncertaintyColumnOf(columns[c]);
        if (name.empty()) continue;
        for (std::size_t f = 0; f < header.size(); ++f) {
            if (withoutUnit(header[f]) == name) fieldOf[c] = f;
        }
    }
    load.byColumn.assign(columns.size(), {});
    std::size_t rows = 0;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        const std::vector<std::string_view> fields = splitFields(line);
        for (std::size_t c = 0; c < columns.size(); ++c) {
            if (fieldOf[c] == header.size()) continue;
            load.byColumn[c].push_back(fieldOf[c] < fields.size() ? fieldValue(fields[fieldOf[c]]) : missingValue());
        }
        ++rows;
    }
    if (rows != table.rows()) {
        load.byColumn.clear();
        std::ostringstream message;
        message << "The uncertainty file " << path << " has " << rows << " row" << (rows == 1 ? "" : "s")
                << ", the output file " << table.rows() << " record" << (table.rows() == 1 ? "" : "s")
                << ": no error bars.";
        load.message = message.str();
        return load;
    }
    load.ok = true;
    return load;
}

}  // namespace brinora::graph
