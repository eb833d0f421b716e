#include "app/uncertainty_choice.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "app/settings_keys.h"
#include "pipeline/batch_pipeline.h"
#include "uncertainty/propagation.h"

namespace brinora {

namespace {

using namespace std::string_view_literals;

std::string_view defaultOf(std::string_view key) {
    for (const auto& [k, v] : settings::kUncertaintyDefaults) {
        if (k == key) return v;
    }
    return "0";
}

// The stored number under `key`, or its default when missing or not a number.
double storedValue(const SettingsStore& store, std::string_view key) {
    const std::string text = store.value(key).value_or(std::string(defaultOf(key)));
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        const std::string_view fallback = defaultOf(key);
        std::from_chars(fallback.data(), fallback.data() + fallback.size(), value);
    }
    return value;
}

double uncertaintyValue(const SettingsStore& store, std::string_view key) {
    return std::max(0.0, storedValue(store, key));
}

bool storedFlag(const SettingsStore& store, std::string_view key) {
    return store.value(key).value_or(std::string(defaultOf(key))) == "1";
}

constexpr std::array<std::string_view, 6> kParameterKeys = {
    ""sv, settings::kUncertaintyTA, settings::kUncertaintyTCO2, settings::kUncertaintypH, settings::kUncertaintyfCO2,
    settings::kUncertaintypCO2};

}  // namespace

std::array<double, kConstantSources> StandardConstantSet() {
    std::array<double, uncertainty::kSourceCount> u{};
    uncertainty::SetStandardConstantUncertainties(u);
    std::array<double, kConstantSources> set{};
    for (std::size_t c = 0; c < kConstantSources; ++c) set[c] = u[uncertainty::kpK0 + c];
    return set;
}

std::string storedNumber(double value) {
    char text[64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value);
    return error == std::errc() ? std::string(text, end) : std::string("0");
}

UncertaintyChoice loadUncertaintyChoice(const SettingsStore& store) {
    UncertaintyChoice choice;
    choice.shown = storedFlag(store, settings::kUncertaintyShown);
    for (std::size_t code = 1; code <= 5; ++code) choice.parameter[code] = uncertaintyValue(store, kParameterKeys[code]);
    choice.salinity = uncertaintyValue(store, settings::kUncertaintySalinity);
    choice.temperature = uncertaintyValue(store, settings::kUncertaintyTemperature);
    choice.phosphate = uncertaintyValue(store, settings::kUncertaintyPhosphate);
    choice.silicate = uncertaintyValue(store, settings::kUncertaintySilicate);
    const std::string set = store.value(settings::kUncertaintyConstants).value_or("standard");
    choice.constantsSet = set == "none"     ? ConstantsSet::None
                          : set == "custom" ? ConstantsSet::Custom
                                            : ConstantsSet::Standard;
    for (std::size_t c = 0; c < kConstantSources; ++c) {
        choice.constants[c] = uncertaintyValue(store, settings::kUncertaintyConstantKeys[c]);
    }
    choice.correlation = std::clamp(storedValue(store, settings::kUncertaintyCorrelation), -1.0, 1.0);
    choice.budgetResult = store.value(settings::kUncertaintyBudgetResult).value_or("ph");
    choice.batchFile = storedFlag(store, settings::kUncertaintyBatchFile);
    return choice;
}

void storeUncertaintyChoice(SettingsStore& store, const UncertaintyChoice& choice) {
    store.setValue(settings::kUncertaintyShown, choice.shown ? "1" : "0");
    for (std::size_t code = 1; code <= 5; ++code) store.setValue(kParameterKeys[code], storedNumber(choice.parameter[code]));
    store.setValue(settings::kUncertaintySalinity, storedNumber(choice.salinity));
    store.setValue(settings::kUncertaintyTemperature, storedNumber(choice.temperature));
    store.setValue(settings::kUncertaintyPhosphate, storedNumber(choice.phosphate));
    store.setValue(settings::kUncertaintySilicate, storedNumber(choice.silicate));
    store.setValue(settings::kUncertaintyConstants, choice.constantsSet == ConstantsSet::None     ? "none"
                                                    : choice.constantsSet == ConstantsSet::Custom ? "custom"
                                                                                                  : "standard");
    for (std::size_t c = 0; c < kConstantSources; ++c) {
        store.setValue(settings::kUncertaintyConstantKeys[c], storedNumber(choice.constants[c]));
    }
    store.setValue(settings::kUncertaintyCorrelation, storedNumber(choice.correlation));
    store.setValue(settings::kUncertaintyBudgetResult, choice.budgetResult);
    store.setValue(settings::kUncertaintyBatchFile, choice.batchFile ? "1" : "0");
}

uncertainty::UncertaintyRequest requestOf(const UncertaintyChoice& choice) {
    using namespace uncertainty;
    UncertaintyRequest request;
    request.parameter = choice.parameter;
    request.source[kSalinity] = choice.salinity;
    request.source[kTemperature] = choice.temperature;
    request.source[kPhosphate] = choice.phosphate;
    request.source[kSilicate] = choice.silicate;
    request.correlation = choice.correlation;
    SetConstantsSet(choice.constantsSet == ConstantsSet::Standard, request);
    if (choice.constantsSet == ConstantsSet::Custom) {
        for (std::size_t c = 0; c < kConstantSources; ++c) request.source[kpK0 + c] = choice.constants[c];
    }
    return request;
}

bool propagateFormSample(const Board& inputs, const UncertaintyChoice& choice,
                         uncertainty::SampleUncertainty& result) {
    const uncertainty::UncertaintyRequest request = requestOf(choice);
    if (!uncertainty::PrepareSampleUncertainty(inputs, request, result)) return false;
    return uncertainty::PropagateSampleUncertainty(request.correlation, result) == uncertainty::Outcome::kComputed;
}

uncertainty::UncertaintyFileOptions uncertaintyFileOptionsOf(const UncertaintyChoice& choice,
                                                             const OptionMenus& menus) {
    uncertainty::UncertaintyFileOptions o;
    o.request = requestOf(choice);
    o.options.whichKs = menus.selectedIndex(Menu::CO2Constants);
    o.options.whichKSO4 = menus.selectedIndex(Menu::KHSO4);
    o.options.pHScale = menus.selectedIndex(Menu::pHScale);
    o.options.fluxCode = menus.selectedIndex(Menu::AirSeaFlux) - 1;
    o.threads = availableCores();
    return o;
}

}  // namespace brinora
