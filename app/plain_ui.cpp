#include "app/plain_ui.h"

#include <cstdlib>
#include <span>

#include "app/option_titles.h"

namespace brinora {

std::optional<std::string> MemorySettings::value(std::string_view key) const {
    const auto found = values.find(key);
    if (found == values.end()) return std::nullopt;
    return found->second;
}

void MemorySettings::setValue(std::string_view key, std::string_view value) {
    values.insert_or_assign(std::string(key), std::string(value));
}

void MemorySettings::removeValue(std::string_view key) {
    const auto found = values.find(key);
    if (found != values.end()) values.erase(found);
}

namespace {

std::span<const std::string_view> titlesOf(Menu menu) {
    switch (menu) {
        case Menu::CO2Constants: return options::kConstantsSetTitles;
        case Menu::KHSO4: return options::kKHSO4Titles;
        case Menu::pHScale: return options::kpHScaleTitles;
        case Menu::AirSeaFlux: return options::kAirSeaFluxTitles;
        case Menu::WindSpeedUnits: return options::kWindSpeedUnitsTitles;
        case Menu::CoordinateFormat: return options::kCoordinateFormatTitles;
        case Menu::CruiseLatitudeNS: return options::kLatitudeHemisphereTitles;
        case Menu::CruiseLongitudeEW: return options::kLongitudeHemisphereTitles;
    }
    return {};
}

}  // namespace

PlainUi::PlainUi() {
    menus[Menu::CruiseLongitudeEW] = 1;  // the stored default: W
}

int PlainUi::selectedIndex(Menu menu) const {
    const auto found = menus.find(menu);
    return found == menus.end() ? 0 : found->second;
}

void PlainUi::selectItem(Menu menu, int index) { menus[menu] = index; }

std::string PlainUi::selectedTitle(Menu menu) const {
    const auto overridden = titleOverrides.find(menu);
    if (overridden != titleOverrides.end()) return overridden->second;
    const auto titles = titlesOf(menu);
    const int index = selectedIndex(menu);
    if (index < 0 || static_cast<std::size_t>(index) >= titles.size()) return {};
    return std::string(titles[static_cast<std::size_t>(index)]);
}

std::string PlainUi::text(TextField field) const {
    const auto found = texts.find(field);
    return found == texts.end() ? std::string() : found->second;
}

void PlainUi::setText(TextField field, std::string_view text) { texts[field] = std::string(text); }

void PlainUi::setPlaceholder(TextField field, std::string_view placeholder) {
    placeholders[field] = std::string(placeholder);
}

CalendarDateTime PlainUi::dateValue(DatePicker picker) const {
    const auto found = dates.find(picker);
    return found == dates.end() ? CalendarDateTime{} : found->second;
}

CalendarDateTime PlainUi::currentDateTime() const { return now; }

std::vector<std::string> PlainUi::runOpenPanel(const OpenPanelRequest& request) {
    return onOpenPanel ? onOpenPanel(request) : std::vector<std::string>{};
}

std::optional<std::string> PlainUi::runSavePanel(const SavePanelRequest& request) {
    return onSavePanel ? onSavePanel(request) : std::nullopt;
}

void PlainUi::presentError(const PresentedError& error) {
    if (onPresentError) onPresentError(error);
}

void PlainUi::runAlert(const Alert& alert) {
    if (onAlert) onAlert(alert);
}

void PlainUi::setProgressIndicatorHidden(bool hidden) {
    progressHidden = hidden;
    if (onProgressHidden) onProgressHidden(hidden);
}

void PlainUi::setProgressIndicatorValue(double percent) {
    progress = percent;
    if (onProgress) onProgress(percent);
}

void PlainUi::runPreviewWindowModal() {
    ++modalRuns;
    previewWindowOpen = true;
    if (onPreviewModal) onPreviewModal();
}

void PlainUi::performCalculate() {
    if (onCalculate) onCalculate();
}

std::string PlainUi::homeDirectory() const { return home.empty() ? AppUi::homeDirectory() : home; }

}  // namespace brinora
