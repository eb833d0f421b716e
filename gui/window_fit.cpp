#include "gui/window_fit.h"

#include <QByteArray>
#include <QScreen>

#include <string>

namespace brinora {

namespace {

// Room left for the title bar and borders that the window system adds.
constexpr int kFrameWidth = 16;
constexpr int kFrameHeight = 40;

}  // namespace

PageScroll::PageScroll(QWidget* page, QWidget* parent) : QScrollArea(parent) {
    setObjectName(page->objectName() + QStringLiteral("Scroll"));
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setWidget(page);
}

QSize PageScroll::sizeHint() const {
    const QWidget* page = widget();
    if (!page) return QScrollArea::sizeHint();
    const int frame = 2 * frameWidth();
    return page->sizeHint() + QSize(frame, frame);
}

QSize defaultWindowSize(const QSize& wanted, const QRect& available) {
    const QSize room(available.width() - kFrameWidth, available.height() - kFrameHeight);
    return wanted.boundedTo(room);
}

void restoreWindowGeometry(QMainWindow& window, const SettingsStore& defaults) {
    if (const auto stored = defaults.value(kWindowGeometryKey)) {
        const QByteArray bytes = QByteArray::fromBase64(QByteArray::fromStdString(*stored));
        if (!bytes.isEmpty() && window.restoreGeometry(bytes)) return;
    }
    const QScreen* screen = window.screen();
    const QRect available = screen ? screen->availableGeometry() : QRect(0, 0, 1366, 768);
    window.resize(defaultWindowSize(window.sizeHint(), available));
}

void storeWindowGeometry(const QMainWindow& window, SettingsStore& defaults) {
    defaults.setValue(kWindowGeometryKey, window.saveGeometry().toBase64().toStdString());
    defaults.synchronize();
}

}  // namespace brinora
