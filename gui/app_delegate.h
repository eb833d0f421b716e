// The application delegate: at start-up it registers and migrates the stored
// settings, then opens the main window and holds it.
#pragma once

#include <memory>

#include "app/ui.h"
#include "gui/brinora_app_controller.h"

namespace brinora {

class BrinoraApp_GUIAppDelegate {
public:
    // `defaults` must outlive the delegate and its window.
    explicit BrinoraApp_GUIAppDelegate(SettingsStore& defaults);

    // Brings the stored settings to layout "1.4" with every default, then
    // makes the main window (unless one was set) and shows it.
    void applicationDidFinishLaunching();

    BrinoraAppController* window() const { return window_.get(); }
    void setWindow(std::unique_ptr<BrinoraAppController> window) { window_ = std::move(window); }

private:
    SettingsStore& defaults_;
    std::unique_ptr<BrinoraAppController> window_;
};

}  // namespace brinora
