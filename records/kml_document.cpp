// The KML document: one placemark per line of a batch input file.
#include "records/kml_document.h"

namespace brinora {
namespace {

constexpr std::string_view kKmlHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
    "<kml xmlns=\"http://www.opengis.net/kml/2.2\">"
    "<Document><name>Brinora</name><Style id=\"h\"><LabelStyle><color>5078DCB4</color></LabelStyle>"
    "<BalloonStyle><bgColor>ffd6ffe1</bgColor><text><![CDATA[<p align=center><b><font color=\"#CC0000\" "
    "size=\"+3\">$[name]</font></b></p><br />$[description]]]></text></BalloonStyle></Style>"
    "<Style id=\"n\" ><LabelStyle><color>5078DCB4</color></LabelStyle><BalloonStyle><bgColor>ffd6ffe1"
    "</bgColor><text><![CDATA[<p align=center><b><font color=\"#CC0000\" size=\"+3\">$[name]</font>"
    "</b></p><br />$[description]]]></text></BalloonStyle></Style><StyleMap id=\"Brinora-style\">"
    "<Pair><key>normal</key><styleUrl>#n</styleUrl></Pair><Pair><key>highlight</key><styleUrl>#h"
    "</styleUrl></Pair></StyleMap><Folder id=\"CO2Results\"><name>Results</name>";

constexpr std::string_view kKmlFooter = "</Folder></Document></kml>";

// The placemark pieces, in order. Each piece's placeholders are filled as
// the piece is appended; every placeholder of a piece is filled by that piece.
constexpr std::string_view kPieces[18] = {
    "<Placemark><styleUrl>#Brinora-style</styleUrl><Snippet maxLines=\"2\"></Snippet><name>#SAMPLENAME# "
    "#SAMPLENUMBER#</name><address></address>",
    " <description><body background=\"\"><Table cellspacing=\"0\" cellpadding=\"0\" width=\"400\" "
    "border=\"2\"><Tr><Td><p style=\"text-align:center;color:red;font-size:15px\"><b>Results (Input)</b>"
    "</p></Td>",
    "<Td><p style=\"text-align:center;color:red;font-size:15px\"><b>Results (Output)</b></p></Td></Tr>",
    "</Table><Table cellspacing=\"0\" cellpadding=\"0\" width=\"400\" border= \"1\"><Tr><Td>Salinity</Td>"
    "<Td>#SALINITY#</Td><Td>Salinity</Td><Td>#SALINITY#</Td></Tr>",
    "<Tr><Td>t(C)</Td><Td>#tC#</Td><Td>t(C)</Td><Td>#tC_out#</Td></Tr><Tr><Td>P (dbars) in</Td>"
    "<Td>#Pdbars#</Td><Td>P (dbars)</Td><Td>#Pdbars_out#</Td></Tr>",
    "<Tr><Td>Total P (\u00b5mol/kbSW)</Td><Td>#totalP#</Td><Td>Total P (\u00b5mol/kbSW)</Td>"
    "<Td>#totalP_out#</Td></Tr><Tr><Td>Total Si (\u00b5mol/kbSW)</Td><Td>#totalSi#</Td>"
    "<Td>Total Si (\u00b5mol/kbSW)</Td><Td>#totalSi_out#</Td></Tr>",
    "<Tr><Td>TA (\u00b5mol/kbSW)</Td><Td>#TA#</Td><Td>TA (\u00b5mol/kbSW)</Td><Td>#TA_out#</Td></Tr>"
    "<Tr><Td>TCO2 (\u00b5mol/kbSW)</Td><Td>#TCO2#</Td><Td>TCO2 (\u00b5mol/kbSW)</Td><Td>#TCO2_out#</Td>"
    "</Tr><Tr><Td>pH</Td><Td>#pH#</Td><Td>pH</Td><Td>#pH_out#</Td></Tr>",
    "<Tr><Td>fCO2 (\u00b5atm)</Td><Td>#fCO2#</Td><Td>fCO2 (\u00b5atm)</Td><Td>#fCO2_out#</Td></Tr>"
    "<Tr><Td>pCO2 (\u00b5atm)</Td><Td>#pCO2#</Td><Td>pCO2 (\u00b5atm)</Td><Td>#pCO2_out#</Td></Tr>",
    "<Tr><Td>HCO3 (\u00b5mol/kbSW)</Td><Td>#HCO3#</Td><Td>HCO3 (\u00b5mol/kgSW)</Td><Td>#HCO3_out#</Td>"
    "</Tr><Tr><Td>CO3 (\u00b5mol/kbSW)</Td><Td>#CO3#</Td><Td>CO3 (\u00b5mol/kgSW)</Td><Td>#CO3_out#</Td>"
    "</Tr>",
    "<Tr><Td>CO2 (\u00b5mol/kbSW)</Td><Td>#CO2#</Td><Td>CO2 out (\u00b5mol/kgSW)</Td><Td>#CO2_out#</Td>"
    "</Tr><Tr><Td>B Alk( \u00b5mol/kbSW)</Td><Td>#BAlk#</Td><Td>B Alk (\u00b5mol/kbSW)</Td>"
    "<Td>#BAlk_out#</Td></Tr>",
    "<Tr><Td>OH (\u00b5mol/kbSW)</Td><Td>#OH#</Td><Td>OH (\u00b5mol/kbSW)</Td><Td>#OH_out#</Td></Tr>"
    "<Tr><Td>P Alk (\u00b5mol/kbSW)</Td><Td>#PAlk#</Td><Td>P Alk (\u00b5mol/kbSW)</Td><Td>#PAlk_out#"
    "</Td></Tr>",
    "<Tr><Td>Si Alk (\u00b5mol/kbSW)</Td><Td>#SiAlk#</Td><Td>Si Alk (\u00b5mol/kbSW)</Td>"
    "<Td>#SiAlk_out#</Td></Tr><Tr><Td>Revelle</Td><Td>#revelle#</Td><Td>Revelle</Td>"
    "<Td>#revelle_out#</Td></Tr>",
    "<Tr><Td>O Ca</Td><Td>#omegaCa#</Td><Td>O Ca</Td><Td>#omegaCa_out#</Td></Tr><Tr><Td>O Ar</Td>"
    "<Td>#omegaAr#</Td><Td>O Ar</Td><Td>#omegaAr_out#</Td></Tr>",
    "<Tr><Td>xCO2 (dry a1 1atm)(ppm)</Td><Td>#xCO2#</Td><Td>xCO2 dry (ppm)</Td><Td>#xCO2_out#</Td></Tr>"
    "<Tr><Td>Water Density</Td><Td>#water_density#</Td><Td>Water Density</Td><Td>#water_density_out#"
    "</Td></Tr>",
    "<Tr><Td>CO2 Flux</Td><Td>#CO2_flux#</Td><Td>CO2 Flux</Td><Td>#CO2_flux_out#</Td></Tr></Table><p>"
    "<text><font color=\"#1400F0\" size=\"+1.5\">#cruiseTime# #cruiseDate#</font></text>",
    "<br /><text><font color=\"#1400F0\" size=\"+1.5\">#cruiseComment#</font></text>",
    "</p></body></description><LookAt><longitude>#cruiseLongitude#</longitude><latitude>"
    "#cruiseLatitude#</latitude><altitude>0</altitude><range>20000</range><tilt>0</tilt>",
    "<heading>0</heading><altitudeMode>relativeToGround</altitudeMode></LookAt><styleUrl>"
    "#msn_grn-blank</styleUrl><Point><coordinates>#cruiseLongitude#,#cruiseLatitude#,0</coordinates>"
    "</Point></Placemark>",
};

}  // namespace

std::string_view kmlDocumentHeader() { return kKmlHeader; }
std::string_view kmlDocumentFooter() { return kKmlFooter; }
std::span<const std::string_view> kmlPlacemarkPieces() { return kPieces; }

}  // namespace brinora
