// The KML document: one placemark per line of a batch input file.
#include <string>
#include <utility>
#include <vector>

#include "app/settings_keys.h"
#include "batch/controller_core.h"
#include "batch/kml_document.h"
#include "batch/text_files.h"
#include "engine/engine.h"
#include "engine/slots.h"

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

using Fill = std::vector<std::pair<std::string_view, std::string>>;

// Appends `piece` to `placemark` with each of its placeholders ("#NAME#")
// that `fill` names replaced by the value given. Only the piece's own text is
// searched: values, the line's fields among them, are inserted as read and
// never searched again, so a field that looks like a placeholder stays as it
// is and a placemark grows with its line by a fixed factor at most.
void appendFilled(std::string& placemark, std::string_view piece, const Fill& fill) {
    std::size_t at = 0;
    while (at < piece.size()) {
        const std::size_t open = piece.find('#', at);
        if (open == std::string_view::npos) break;
        const std::size_t close = piece.find('#', open + 1);
        if (close == std::string_view::npos) break;
        const std::string_view candidate = piece.substr(open, close + 1 - open);
        const std::string* value = nullptr;
        for (const auto& [placeholder, text] : fill) {
            if (placeholder == candidate) {
                value = &text;
                break;
            }
        }
        if (value == nullptr) {
            // A literal "#" (a colour, a style reference): keep it, look on.
            placemark.append(piece.substr(at, open + 1 - at));
            at = open + 1;
            continue;
        }
        placemark.append(piece.substr(at, open - at));
        placemark.append(*value);
        at = close + 1;
    }
    placemark.append(piece.substr(at));
}

float slotValue(std::uint32_t pos) { return Engine::sharedInstance()->getFieldValueAtPos(pos); }

}  // namespace

std::string_view kmlDocumentHeader() { return kKmlHeader; }
std::string_view kmlDocumentFooter() { return kKmlFooter; }
std::span<const std::string_view> kmlPlacemarkPieces() { return kPieces; }

std::string BrinoraAppControllerCore::placemarkFor(const std::vector<std::string>& fields) {
    // A field that the line does not have reads as empty.
    const auto field = [&fields](std::size_t k) { return k < fields.size() ? fields[k] : std::string(); };
    const auto number = [](std::uint32_t pos) { return formatNumber(slotValue(pos)); };

    std::string sampleNumber = std::to_string(sampleID);
    ++sampleID;
    const Fill fills[18] = {
        {{"#SAMPLENAME#", field(1)}, {"#SAMPLENUMBER#", sampleNumber}},
        {},
        {},
        {{"#SALINITY#", number(slot::kSalinity)}},
        {{"#tC#", number(slot::kTemperature)},
         {"#tC_out#", number(slot::kTemperatureOut)},
         {"#Pdbars#", number(slot::kPressure)},
         {"#Pdbars_out#", number(slot::kPressureOut)}},
        {{"#totalP#", number(slot::kPhosphate)},
         {"#totalP_out#", number(slot::kPhosphate)},
         {"#totalSi#", number(slot::kSilicate)},
         {"#totalSi_out#", number(slot::kSilicate)}},
        {{"#TA#", number(slot::kTAOut)},
         {"#TA_out#", number(slot::kTAOut)},
         {"#TCO2#", number(slot::kTCO2Out)},
         {"#TCO2_out#", number(slot::kTCO2Out)},
         {"#pH#", number(slot::kpHIn)},
         {"#pH_out#", number(slot::kpHOut)}},
        {{"#fCO2#", number(slot::kfCO2In)},
         {"#fCO2_out#", number(slot::kfCO2Out)},
         {"#pCO2#", number(slot::kpCO2In)},
         {"#pCO2_out#", number(slot::kpCO2Out)}},
        {{"#HCO3#", number(slot::kHCO3In)},
         {"#HCO3_out#", number(slot::kHCO3Out)},
         {"#CO3#", number(slot::kCO3In)},
         {"#CO3_out#", number(slot::kCO3Out)}},
        {{"#CO2#", number(slot::kCO2In)},
         {"#CO2_out#", number(slot::kCO2Out)},
         {"#BAlk#", number(slot::kBAlkIn)},
         {"#BAlk_out#", number(slot::kBAlkOut)}},
        {{"#OH#", number(slot::kOHIn)},
         {"#OH_out#", number(slot::kOHOut)},
         {"#PAlk#", number(slot::kPAlkIn)},
         {"#PAlk_out#", number(slot::kPAlkOut)}},
        {{"#SiAlk#", number(slot::kSiAlkIn)},
         {"#SiAlk_out#", number(slot::kSiAlkOut)},
         {"#revelle#", number(slot::kRevelleIn)},
         {"#revelle_out#", number(slot::kRevelleOut)}},
        {{"#omegaCa#", number(slot::kOmegaCaIn)},
         {"#omegaCa_out#", number(slot::kOmegaCaOut)},
         {"#omegaAr#", number(slot::kOmegaArIn)},
         {"#omegaAr_out#", number(slot::kOmegaArOut)}},
        {{"#xCO2#", number(slot::kxCO2In)},
         {"#xCO2_out#", number(slot::kxCO2Out)},
         {"#water_density#", number(slot::kSigmaIn)},
         {"#water_density_out#", number(slot::kSigmaOut)}},
        {{"#CO2_flux#", number(slot::kCO2FluxIn)},
         {"#CO2_flux_out#", number(slot::kCO2FluxOut)},
         {"#cruiseTime#", field(2)},
         {"#cruiseDate#", field(3)}},
        // The comment line of the balloon has always shown field 19, the wind speed.
        {{"#cruiseComment#", field(19)}},
        {{"#cruiseLongitude#", field(5)}, {"#cruiseLatitude#", field(4)}},
        {{"#cruiseLongitude#", field(5)}, {"#cruiseLatitude#", field(4)}},
    };

    std::string placemark;
    for (std::size_t piece = 0; piece < 18; ++piece) appendFilled(placemark, kPieces[piece], fills[piece]);
    return placemark;
}

void BrinoraAppControllerCore::writeKML() {
    placemarksWritten = 0;
    failedWrites = 0;
    stoppedAtSourceLine = 0;
    lastWriteError.clear();

    // 1. The input file.
    const auto chosen = ui_.runOpenPanel(
        OpenPanelRequest{{"csv"}, defaults_.value(settings::kOpenPath).value_or(""), false});
    if (chosen.empty()) return;
    batchWriteMode = 1;
    filesToOpen = chosen;
    fullPath = filesToOpen.front();
    alreadySaved = 0;

    // 2. Read it.
    const TextFileContents contents = readUTF8TextFile(fullPath);
    if (!contents.ok) {
        ui_.presentError(contents.error);
        ui_.logLine("There was an error reading from the file");
        return;
    }

    // 3. Lines.
    const std::vector<TextLine> lines = splitBatchLines(contents.text);
    const int pieces = static_cast<int>(lines.size());
    ui_.logLine("The file is " + std::to_string(pieces) + " lines long");

    // 4. One placemark per line; the last piece is never a sample here.
    Engine* board = Engine::sharedInstance();
    for (int i = 1; i < pieces - 1; ++i) {
        ui_.logLine("Dealing with line " + std::to_string(i));
        const std::vector<std::string> fields = splitFields(lines[static_cast<std::size_t>(i)].text);
        updateConstants();
        storeSampleValues(fields);
        computeCO2();

        if (alreadySaved == 0) {
            const std::string proposed =
                fullPath.empty() ? ui_.text(TextField::CruiseName) : fileStem(fullPath) + "_Brinora.kml";
            const auto kmlPath = ui_.runSavePanel(
                SavePanelRequest{"kml", defaults_.value(settings::kOpenPath).value_or(""), proposed});
            if (kmlPath) {
                const WriteResult written = writeFileAtomically(*kmlPath, kKmlHeader);
                if (!written.ok) {
                    ui_.logLine("Error in saving file to disk");
                    lastWriteError = written.message;
                }
                fullPathOut = *kmlPath;
            }
        }

        stringToWrite = placemarkFor(fields);
        ui_.logLine("stringToWrite: " + stringToWrite);
        const WriteResult appended = appendToExistingFile(fullPathOut, stringToWrite);
        alreadySaved = 1;
        board->reset();
        if (!appended.ok) {
            // The device is full or the document can no longer be written:
            // the placemarks stop here, so the document holds whole
            // placemarks only and, lacking its footer, shows that it is cut.
            ++failedWrites;
            stoppedAtSourceLine = lines[static_cast<std::size_t>(i)].sourceLine;
            lastWriteError = appended.message + " (the placemark of input line " +
                             std::to_string(stoppedAtSourceLine) + ")";
            ui_.logLine(lastWriteError);
            break;
        }
        ++placemarksWritten;
        ui_.logLine("Done with the line!");
    }

    // 5. Close the document.
    if (failedWrites == 0) {
        const WriteResult closed = appendToExistingFile(fullPathOut, kKmlFooter);
        if (!closed.ok && placemarksWritten > 0) {
            ++failedWrites;
            lastWriteError = closed.message;
        }
    }

    // 6. Report.
    ui_.runAlert(Alert{"CSV to KML Processing Completed", "Input: " + fullPath + "\n\n" + "Output: " + fullPathOut,
                       {"OK"}});

    // 7. Ready for the next run.
    alreadySaved = 0;
    batchWriteMode = 0;
    sampleID = 0;
    ui_.logLine("Done with file!");
}

}  // namespace brinora
