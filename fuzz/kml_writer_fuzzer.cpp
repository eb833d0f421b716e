// Fuzz target: the KML writer. The input is the whole content of a batch
// input file; writeKML turns it into a document in a scratch folder. The
// calculation is replaced by a cheap stand-in (the sample's own values copied
// into the result slots), so the target spends its time in the writer.
//
// Checks: no crash, sanitizer report or hang; the document is the header, one
// placemark per line from line 1 up to the one before the last piece, and the
// footer; the first placemark's name is field 1 of line 1 as read and number
// 0; the placemarks grow with their lines by a fixed factor at most (fields
// are inserted as read, never expanded again).
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "batch/controller_core.h"
#include "batch/kml_document.h"
#include "batch/plain_ui.h"
#include "batch/text_files.h"
#include "engine/engine.h"
#include "fuzz_support.h"

namespace {

using brinora::fuzz::require;

void fakeCompute() {
    brinora::Engine* board = brinora::Engine::sharedInstance();
    for (std::uint32_t pos = 30; pos <= 72; ++pos) {
        board->setFieldValueAtPos(pos, board->getFieldValueAtPos(11 + pos % 14));
    }
}

std::string readWhole(const std::string& path) {
    std::string text;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return text;
    char buffer[65536];
    for (ssize_t n; (n = ::read(fd, buffer, sizeof buffer)) > 0;) text.append(buffer, static_cast<std::size_t>(n));
    ::close(fd);
    return text;
}

const std::string& outputPath() {
    static const std::string path = [] {
        std::string p = brinora::fuzz::scratchFolder() + "/out.kml";
        std::atexit([] {
            ::unlink((brinora::fuzz::scratchFolder() + "/out.kml").c_str());
            ::rmdir(brinora::fuzz::scratchFolder().c_str());
        });
        return p;
    }();
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    brinora::fuzz::quietLog();
    static brinora::fuzz::InputFile input;
    input.replace(data, size);
    ::unlink(outputPath().c_str());

    brinora::MemorySettings defaults;
    brinora::PlainUi ui;
    ui.selectItem(brinora::Menu::CO2Constants, 13);
    ui.selectItem(brinora::Menu::KHSO4, 1);
    ui.selectItem(brinora::Menu::pHScale, 1);
    ui.selectItem(brinora::Menu::AirSeaFlux, 1);
    ui.onOpenPanel = [](const brinora::OpenPanelRequest&) { return std::vector<std::string>{input.path()}; };
    ui.onSavePanel = [](const brinora::SavePanelRequest&) -> std::optional<std::string> { return outputPath(); };
    brinora::BrinoraAppControllerCore core(ui, defaults);
    core.computeCO2 = fakeCompute;
    core.writeKML();
    brinora::Engine::sharedInstance()->reset();

    const std::string_view raw(reinterpret_cast<const char*>(data), size);
    const std::string document = readWhole(outputPath());
    if (brinora::firstInvalidUTF8Byte(raw) != std::string_view::npos) {
        require(document.empty() && core.placemarksWritten == 0, "unreadable input writes nothing");
        return 0;
    }
    std::string text(raw);
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    const std::vector<brinora::TextLine> lines = brinora::splitBatchLines(text);
    const int placemarks = lines.size() > 2 ? static_cast<int>(lines.size()) - 2 : 0;
    require(core.placemarksWritten == placemarks, "one placemark per line before the last piece");
    require(core.failedWrites == 0, "every placemark written");
    if (placemarks == 0) {
        // No line: the save panel never ran, so nothing was written.
        require(document.empty(), "no document without a placemark");
        return 0;
    }

    const std::string_view header = brinora::kmlDocumentHeader();
    const std::string_view footer = brinora::kmlDocumentFooter();
    require(document.starts_with(header) && document.ends_with(footer), "header and footer");
    const std::string_view body(document.data() + header.size(), document.size() - header.size() - footer.size());
    // Fixed text and numbers take well under 8 KiB; the fields of the line
    // appear at most twice each (latitude and longitude), once for the rest.
    std::size_t bound = 0;
    for (int i = 0; i < placemarks; ++i) bound += 8192 + 2 * lines[static_cast<std::size_t>(i) + 1].text.size();
    require(body.size() <= bound, "placemarks grow with their lines by a fixed factor at most");
    const std::vector<std::string> fields = brinora::splitFields(lines[1].text);
    const std::string start = "<Placemark><styleUrl>#Brinora-style</styleUrl><Snippet maxLines=\"2\"></Snippet><name>" +
                              (fields.size() > 1 ? fields[1] : std::string()) + " 0</name><address></address>";
    require(body.starts_with(start), "the first placemark carries field 1 as read and number 0");
    return 0;
}
