// Shared set-up of the batch tests: a controller core over plain interface
// objects, an in-memory defaults store, a captured log and a scratch folder.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "app/controller_core.h"
#include "app/plain_ui.h"
#include "engine/engine.h"
#include "log/log.h"
#include "tests/support/batch_input.h"
#include "tests/support/files.h"

namespace brinora::testing {

// Number of comma-separated columns of one record line (its "\n" excluded).
inline int columnCount(const std::string& record) {
    std::string line = record;
    if (!line.empty() && line.back() == '\n') line.pop_back();
    int count = 1;
    for (const char c : line) count += c == ',';
    return count;
}

// Column `index` (1-based) of one record line.
inline std::string column(const std::string& record, int index) {
    std::string line = record;
    if (!line.empty() && line.back() == '\n') line.pop_back();
    int current = 1;
    std::string value;
    for (const char c : line) {
        if (c == ',') {
            if (current == index) return value;
            ++current;
            value.clear();
        } else {
            value.push_back(c);
        }
    }
    return current == index ? value : std::string("<missing>");
}

class ControllerTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"batch-test"};

    ControllerTest() : core(ui, defaults), sink([this](std::string_view line) { logLines.emplace_back(line); }) {
        Engine::sharedInstance()->reset();
        // A stand-in for the chemistry: every result slot shows where it came
        // from, so record and placemark tests do not depend on the solvers.
        core.computeCO2 = [this](Board& board) {
            ++computeCalls;
            computedSalinities.push_back(board.get(11));
            computedWindSpeeds.push_back(board.get(24));
            for (std::uint32_t pos = 30; pos <= 72; ++pos) {
                if (pos == 68) continue;
                board.set(pos, static_cast<float>(pos) + 0.25f);
            }
        };
        ui.onPresentError = [this](const PresentedError& error) { presented.push_back(error); };
        ui.onAlert = [this](const Alert& alert) { alerts.push_back(alert); };
        dir = scratch_.path();
    }

    // Chooses the four options (menu items) as a user would.
    void chooseOptions(int constants = 10, int khso4 = 1, int scale = 1, int flux = 1) {
        ui.selectItem(Menu::CO2Constants, constants);
        ui.selectItem(Menu::KHSO4, khso4);
        ui.selectItem(Menu::pHScale, scale);
        ui.selectItem(Menu::AirSeaFlux, flux);
    }

    // Writes an input file and makes it the chosen batch input.
    std::string useInput(const std::string& text, const std::string& name = "input.csv") {
        const std::string path = (dir / name).string();
        writeFile(path, text);
        core.batchWriteMode = 1;
        core.filesToOpen = {path};
        ui.setText(TextField::PathField, path);
        return path;
    }

    // Creates the output file with its header and makes it the output.
    std::string useOutput(const std::string& name = "output.csv") {
        const std::string path = (dir / name).string();
        core.batchOutputFileCreated(path);
        return path;
    }

    bool logged(const std::string& line) const {
        for (const auto& l : logLines) {
            if (l == line) return true;
        }
        return false;
    }
    int loggedCount(const std::string& line) const {
        int n = 0;
        for (const auto& l : logLines) n += l == line;
        return n;
    }

    PlainUi ui;
    MemorySettings defaults;
    BrinoraAppControllerCore core;
    std::vector<std::string> logLines;
    log::ScopedSink sink;
    std::vector<PresentedError> presented;
    std::vector<Alert> alerts;
    int computeCalls = 0;
    std::vector<float> computedSalinities;
    std::vector<float> computedWindSpeeds;
    std::filesystem::path dir;
};

}  // namespace brinora::testing
