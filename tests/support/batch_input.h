// The header line of a batch input file: the 21 column names, without a line end.
#pragma once

#include <string>

namespace brinora::testing {

inline const std::string kInputHeader =
    "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature,Pressure,Phosphate,Silicate,"
    "TempOut,PressureOut,TA,TCO2,pH,fCO2,pCO2,pCO2air,Windspeed,Comment";

}  // namespace brinora::testing
