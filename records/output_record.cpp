#include "records/output_record.h"

#include "records/fixed_format.h"

namespace brinora {

std::string_view dataFileHeaders() {
    return "SampleID,Name,Time,Date,Latitude (decimal degrees),Longitude (decimal degrees),"
           "Salinity (ppt),Temperature(C),Pressure (dbars),Total P (micromol/kgSW),"
           "Total Si (micromol/kgSW),TA (micromol/kgSW),TCO2 (micromol/kgSW),pH,"
           "fCO2 (microatm),pCO2 (microatm),HCO3 in (micromol/kgSW),CO3 in (micromol/kgSW),"
           "CO2 in (micromol/kgSW),B Alk in (micromol/kgSW),OH in (micromol/kgSW),"
           "P Alk in (micromol/kgSW),Si Alk in (micromol/kgSW),Revelle in,O Ca,O Ar in,"
           "xCO2 in (dry at 1 atm) (ppm),t(C) out,P (dbars) out,pH out,fCO2 out (microatm),"
           "pCO2 out (microatm),HCO3 out (micromol/kgSW),CO3 out (micromol/kgSW),"
           "CO2 out (micromol/kgSW),B Alk out (micromol/kgSW),OH out (micromol/kgSW),"
           "P Alk out (micromol/kgSW),Si Alk out (micromol/kgSW),Revelle out,O Ca out,"
           "O Ar out,xCO2 out (dry at 1 atm) (ppm),pCO2_air,Windspeed,CO2Flux in,"
           "CO2Flux out,CO2Constants, KHSO4, pH Scale, Air-Sea Flux, Windspeed Units, "
           "Comment\n";
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
