#include "gui/help_viewer.h"

#include <QFile>
#include <QFileInfo>
#include <QToolBar>

namespace brinora {

namespace {

constexpr const char* kHelpRoot = "qrc:/help/";

}  // namespace

const std::vector<HelpPage>& helpPages() {
    static const std::vector<HelpPage> pages = {
        {QStringLiteral("index"), QObject::tr("Brinora Help")},
        {QStringLiteral("computing"), QObject::tr("What Brinora Computes")},
        {QStringLiteral("entering-a-sample"), QObject::tr("Entering a Sample")},
        {QStringLiteral("results"), QObject::tr("Reading the Results")},
        {QStringLiteral("options"), QObject::tr("Choosing Constants and Scales")},
        {QStringLiteral("batch-input"), QObject::tr("The Batch Input File")},
        {QStringLiteral("output-file"), QObject::tr("The Output File")},
        {QStringLiteral("kml"), QObject::tr("The KML Document")},
        {QStringLiteral("graph"), QObject::tr("Graphs of a Batch")},
        {QStringLiteral("uncertainty"), QObject::tr("Uncertainties and Buffer Factors")},
        {QStringLiteral("messages"), QObject::tr("Messages and What to Do")},
        {QStringLiteral("settings"), QObject::tr("Stored Settings")},
    };
    return pages;
}

QUrl helpPageUrl(const QString& name) {
    QString page = name.trimmed();
    if (page.endsWith(QLatin1String(".html"))) page.chop(5);
    if (page.isEmpty()) page = helpPages().front().name;
    return QUrl(QString::fromLatin1(kHelpRoot) + page + QStringLiteral(".html"));
}

HelpViewer::HelpViewer(QWidget* parent) : QMainWindow(parent), browser_(new QTextBrowser(this)) {
    setObjectName("helpViewer");
    setWindowTitle(tr("Brinora Help"));
    setWindowFlag(Qt::Window, true);
    browser_->setObjectName("helpBrowser");
    browser_->setOpenExternalLinks(true);
    browser_->setSearchPaths({QStringLiteral(":/help")});
    // The pages link style.css too; the text browser takes it as the document's default.
    QFile style(QStringLiteral(":/help/style.css"));
    if (style.open(QIODevice::ReadOnly)) {
        browser_->document()->setDefaultStyleSheet(QString::fromUtf8(style.readAll()));
    }
    setCentralWidget(browser_);

    QToolBar* bar = addToolBar(tr("Navigation"));
    bar->setMovable(false);
    QAction* back = bar->addAction(tr("Back"), browser_, &QTextBrowser::backward);
    QAction* forward = bar->addAction(tr("Forward"), browser_, &QTextBrowser::forward);
    bar->addAction(tr("Contents"), this, [this] { openPage(QString()); });
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(browser_, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(browser_, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    connect(browser_, &QTextBrowser::sourceChanged, this, [this] {
        // The start page is itself titled "Brinora Help": its name is not repeated.
        const QString book = tr("Brinora Help");
        const QString title = browser_->documentTitle();
        setWindowTitle(title.isEmpty() || title == book ? book : tr("Brinora Help — %1").arg(title));
    });
    resize(760, 640);
}

void HelpViewer::openPage(const QString& name) { browser_->setSource(helpPageUrl(name)); }

QString HelpViewer::currentPage() const { return QFileInfo(browser_->source().path()).baseName(); }

}  // namespace brinora
