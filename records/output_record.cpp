#include "records/output_record.h"

#include <algorithm>
#include <vector>

#include "records/fixed_format.h"

namespace brinora {
namespace {

// Columns 1..6 of the output record: the cruise information as read.
constexpr std::string_view kCruiseHeader =
    "SampleID,Name,Time,Date,Latitude (decimal degrees),Longitude (decimal degrees),";
// Columns 48..53: the option titles and the comment.
constexpr std::string_view kOptionHeader =
    ",CO2Constants, KHSO4, pH Scale, Air-Sea Flux, Windspeed Units, Comment\n";

constexpr std::string_view kCruiseDictKeys[] = {"SampleID", "Name", "Time", "Date", "Latitude", "Longitude",
                                                "Comment"};
constexpr std::string_view kOptionDictKeys[] = {"Windspeed Units", "CO2 Constants", "KHSO4", "pH Scale",
                                                "Air-Sea Flux"};

std::vector<const Quantity*> makeRecordColumns() {
    std::vector<const Quantity*> columns;
    for (const Quantity& q : quantities()) {
        if (q.recordColumn > 0) columns.push_back(&q);
    }
    std::sort(columns.begin(), columns.end(),
              [](const Quantity* a, const Quantity* b) { return a->recordColumn < b->recordColumn; });
    return columns;
}

}  // namespace

std::span<const Quantity* const> recordNumberColumns() {
    static const std::vector<const Quantity*> columns = makeRecordColumns();
    return columns;
}

std::string_view dataFileHeaders() {
    static const std::string header = [] {
        std::string text(kCruiseHeader);
        bool first = true;
        for (const Quantity* column : recordNumberColumns()) {
            if (!first) text.push_back(',');
            text.append(column->header);
            first = false;
        }
        text.append(kOptionHeader);
        return text;
    }();
    return header;
}

std::span<const std::string_view> dictRecordKeys() {
    static const std::vector<std::string_view> keys = [] {
        std::vector<std::string_view> all(std::begin(kCruiseDictKeys), std::end(kCruiseDictKeys));
        for (const Quantity* column : recordNumberColumns()) {
            if (!column->dictKey.empty()) all.push_back(column->dictKey);
        }
        all.insert(all.end(), std::begin(kOptionDictKeys), std::end(kOptionDictKeys));
        return all;
    }();
    return keys;
}

std::string formatNumber(float value) {
    // "%.3f" in every locale: the desktop program runs under the user's
    // locale, whose decimal comma would break the comma-separated record.
    char buffer[kFixed3MaxLength];
    return std::string(buffer, writeFixed3(value, buffer));
}

std::string withoutCommas(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        if (c != ',') result.push_back(c);
    }
    return result;
}

}  // namespace brinora
