// Titles of the option menus, shared by the desktop program and the command
// line. Item 0 of each option menu is the placeholder; item k names the option
// whose code is k (constants set, KHSO4, pH scale) or k - 1 (air-sea flux
// formula). Titles go into the output record with their commas removed, so
// none of them has a comma to lose.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace brinora::options {

// Placeholder title of item 0 of the four option menus.
inline constexpr std::string_view kPlaceholderTitle = "Select...";

// What a calculation, a batch run or a KML run says while any of the four
// option menus is still on its placeholder; nothing is computed or written.
inline constexpr std::string_view kChooseOptionsMessage =
    "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. Click "
    "\"Select...\" to provide these parameters.";

// Carbonic-acid dissociation constants, item k = constants-set code k.
inline constexpr std::array<std::string_view, 15> kConstantsSetTitles = {
    kPlaceholderTitle,
    "Roy et al. (1993) total scale",
    "Goyet and Poisson (1989) seawater scale",
    "Hansson (1973) refit by Dickson and Millero (1987)",
    "Mehrbach et al. (1973) refit by Dickson and Millero (1987)",
    "Hansson and Mehrbach refit by Dickson and Millero (1987)",
    "GEOSECS (Takahashi et al. 1982) NBS scale",
    "Peng et al. (1987) GEOSECS with phosphate NBS scale",
    "Millero (1979) pure water",
    "Millero et al. (2002)",
    "Millero et al. (2002) pK2 corrected for fCO2",
    "Millero et al. (2002) pK2 corrected for TCO2",
    "Millero (2006)",
    "Lueker et al. (2000) total scale",
    "Millero (2010)",
};

// Bisulfate dissociation constant, item k = KHSO4 code k.
inline constexpr std::array<std::string_view, 3> kKHSO4Titles = {
    kPlaceholderTitle,
    "Dickson (1990)",
    "Khoo et al. (1977)",
};

// pH scale, item k = pH-scale code k.
inline constexpr std::array<std::string_view, 5> kpHScaleTitles = {
    kPlaceholderTitle,
    "Total scale",
    "Seawater scale",
    "Free scale",
    "NBS scale",
};

// Air-sea gas-transfer formula, item k = flux formula code k - 1.
inline constexpr std::array<std::string_view, 4> kAirSeaFluxTitles = {
    kPlaceholderTitle,
    "Wanninkhof (1992)",
    "Nightingale et al. (2000)",
    "Ho et al. (2006)",
};

// Wind speed units; item 1 (knots) is converted to m/s by the form.
inline constexpr std::array<std::string_view, 2> kWindSpeedUnitsTitles = {
    "m/s",
    "knots",
};

// Coordinate format of the form; item 1 writes the hemisphere letters.
inline constexpr std::array<std::string_view, 2> kCoordinateFormatTitles = {
    "decimal degrees",
    "degrees with hemisphere letter",
};

// Latitude hemisphere letters.
inline constexpr std::array<std::string_view, 2> kLatitudeHemisphereTitles = {"N", "S"};

// Longitude hemisphere letters.
inline constexpr std::array<std::string_view, 2> kLongitudeHemisphereTitles = {"E", "W"};

// Menu item index whose constants-set choice moves the pH-scale menu to NBS
// (CO2selected): the index minus 1 is 6 or 7.
inline constexpr int kNBSpHScaleItem = 4;

}  // namespace brinora::options
