#include "app/ui.h"

#include <cstdlib>

#include "log/log.h"

namespace brinora {

std::string AppUi::homeDirectory() const {
    const char* home = std::getenv("HOME");
    return home ? std::string(home) : std::string();
}

void AppUi::logLine(std::string_view line) { log::line(line); }

void ProgressIndicator::setProgressIndicatorIndeterminate(bool) {}

bool ProgressIndicator::cancelRequested() const { return false; }

}  // namespace brinora
