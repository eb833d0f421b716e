// The "Dict" record of a computed sample: the named strings that a preview
// row shows, from the sample's cruise information, its board and the titles
// of the options it was computed with.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "engine/board.h"
#include "input/fields.h"
#include "records/batch_record.h"
#include "records/output_record.h"

namespace brinora {

// Cruise information of a sample: "SampleID", "Name", "Time", "Date",
// "Latitude", "Longitude", "Comment".
using CruiseInformation = std::map<std::string, std::string, std::less<>>;

// The cruise information of a batch line: fields 0..5 and 20 as read.
CruiseInformation cruiseInformation(const BatchFields& fields);

// The Dict record: the keys of `cruise` that are present, every number of
// `board` with "%.3f" (an output condition of exactly 0 repeats the input
// one; the flux only at the surface, else ""), and the five option titles
// without their commas.
DictRecord dictRecord(const CruiseInformation& cruise, const Board& board, const RecordOptionTitles& titles);

}  // namespace brinora
