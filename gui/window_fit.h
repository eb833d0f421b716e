// The main window's size: a scroll area for each page whose size hint is its
// whole page, the size the window opens at on a given screen, and the
// geometry kept between sessions in the stored settings.
#pragma once

#include <QMainWindow>
#include <QRect>
#include <QScrollArea>
#include <QSize>

#include <string_view>

#include "app/ui.h"

namespace brinora {

// Stored-settings key of the main window's geometry (Qt's saveGeometry
// bytes in Base64); only the desktop program reads it.
inline constexpr std::string_view kWindowGeometryKey = "desktopWindowGeometry";

// A page that scrolls when the window is smaller than the page, but asks
// for room to show the whole page.
class PageScroll : public QScrollArea {
    Q_OBJECT
public:
    explicit PageScroll(QWidget* page, QWidget* parent = nullptr);
    QSize sizeHint() const override;
};

// The size the window opens at when none is stored: the size that shows
// every page whole (`wanted`), bounded by the `available` part of the screen
// less room for the window frame.
QSize defaultWindowSize(const QSize& wanted, const QRect& available);

// Gives `window` its stored geometry, or the default size on its screen
// when none is stored or the stored one cannot be read.
void restoreWindowGeometry(QMainWindow& window, const SettingsStore& defaults);
// Stores the geometry of `window`.
void storeWindowGeometry(const QMainWindow& window, SettingsStore& defaults);

}  // namespace brinora
