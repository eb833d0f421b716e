#include "gui/app_delegate.h"

#include "app/settings_registration.h"

namespace brinora {

BrinoraApp_GUIAppDelegate::BrinoraApp_GUIAppDelegate(SettingsStore& defaults) : defaults_(defaults) {}

void BrinoraApp_GUIAppDelegate::applicationDidFinishLaunching() {
    registerAndMigrateSettings(defaults_);
    if (!window_) window_ = std::make_unique<BrinoraAppController>(defaults_);
    window_->show();
}

}  // namespace brinora
