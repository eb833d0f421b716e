// The help book: every page ships and loads, links resolve, the Help menu
// and the help buttons open the right page, and the pages carry the exact
// messages and file columns.
#include <QAction>
#include <QImage>
#include <QMenuBar>
#include <QRegularExpression>
#include <QTextDocument>

#include "app/settings_keys.h"
#include "records/output_record.h"
#include "gui/help_viewer.h"
#include "gui_fixture.h"

namespace brinora::testing {
namespace {

QString pageSource(const QString& name) {
    QFile file(QStringLiteral(":/help/") + name + QStringLiteral(".html"));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QString::fromUtf8(file.readAll());
}

QString pageText(const QString& name) {
    QTextDocument document;
    document.setHtml(pageSource(name));
    return document.toPlainText().replace(QChar(0x00A0), QLatin1Char(' '));
}

TEST(HelpBook, EveryPageShipsWithItsTitle) {
    for (const HelpPage& page : helpPages()) {
        const QString source = pageSource(page.name);
        ASSERT_FALSE(source.isEmpty()) << page.name.toStdString();
        EXPECT_TRUE(source.contains(QStringLiteral("<title>") + page.title + QStringLiteral("</title>")))
            << page.name.toStdString();
    }
    EXPECT_TRUE(QFile::exists(QStringLiteral(":/help/style.css")));
}

TEST(HelpBook, EveryPictureIsInTheBook) {
    const QRegularExpression picture(QStringLiteral("<img src=\"([^\"]+)\""));
    int pictures = 0;
    for (const HelpPage& page : helpPages()) {
        auto matches = picture.globalMatch(pageSource(page.name));
        while (matches.hasNext()) {
            const QString source = matches.next().captured(1);
            ++pictures;
            QImage image(QStringLiteral(":/help/") + source);
            EXPECT_FALSE(image.isNull()) << page.name.toStdString() << " shows " << source.toStdString();
        }
    }
    EXPECT_GE(pictures, 1);  // the graph page shows the example cruise's profile
}

TEST(HelpBook, EveryLinkLeadsToAPageOfTheBook) {
    const QRegularExpression link(QStringLiteral("href=\"([^\"#:]+)\""));
    for (const HelpPage& page : helpPages()) {
        auto matches = link.globalMatch(pageSource(page.name));
        while (matches.hasNext()) {
            const QString target = matches.next().captured(1);
            EXPECT_TRUE(QFile::exists(QStringLiteral(":/help/") + target))
                << page.name.toStdString() << " links to " << target.toStdString();
        }
    }
}

TEST(HelpBook, MessagesPageQuotesEveryMessageExactly) {
    const QString text = pageText(QStringLiteral("messages"));
    const char* messages[] = {
        "Return to the data input tab to perform the calculation",
        "Please remove commas from the sample information text boxes.",
        "To perform the calculation, Brinora needs values for salinity, temperature, and at least two "
        "carbonate parameters from the second column.",
        "To perform the calculation, Brinora needs constants, scales, and units supplied by the user. "
        "Click \"Select...\" to provide these parameters.",
        "pCO2air is required to calculate Air-Sea flux",
        "Windspeed is required to calculate Air-Sea flux",
        "There was an error reading from the file",
        "There are no datapoints to process.",
        "There is an incorrect number of data columns in the input CSV.",
        "All records require a salinity value. There is a salinity value missing.",
        "All records require a temperature value. There is a temperature value missing.",
        "To batch process records, Brinora needs values for at least two carbonate parameters",
        "Batch Processing of File Completed",
        "CSV to KML Processing Completed",
        "A field holds no number.",
        "A run is still going.",
    };
    for (const char* message : messages) {
        EXPECT_TRUE(text.contains(QString::fromUtf8(message))) << message;
    }
}

TEST(HelpBook, OutputFilePageListsThe53Columns) {
    const QString text = pageText(QStringLiteral("output-file"));
    const QStringList names = QString::fromUtf8(dataFileHeaders().data(), dataFileHeaders().size())
                                  .trimmed()
                                  .split(QLatin1Char(','));
    ASSERT_EQ(names.size(), 53);
    for (const QString& name : names) EXPECT_TRUE(text.contains(name)) << name.toStdString();
}

TEST(HelpBook, BatchInputExampleIsAValidInputFile) {
    const QString source = pageSource(QStringLiteral("batch-input"));
    const auto match = QRegularExpression(QStringLiteral("<pre>(.*)</pre>"),
                                          QRegularExpression::DotMatchesEverythingOption)
                           .match(source);
    ASSERT_TRUE(match.hasMatch());
    const QStringList lines = match.captured(1).trimmed().split(QLatin1Char('\n'));
    ASSERT_GE(lines.size(), 2);
    for (const QString& line : lines) EXPECT_EQ(line.split(QLatin1Char(',')).size(), 21) << line.toStdString();
    const QString table = pageText(QStringLiteral("batch-input"));
    for (int column = 1; column <= 21; ++column) {
        EXPECT_TRUE(table.contains(QStringLiteral("\n%1").arg(column))) << column;
    }
}

TEST(HelpBook, SettingsPageNamesEveryKey) {
    const QString text = pageText(QStringLiteral("settings"));
    for (const auto& [key, value] : settings::kDefaults) {
        EXPECT_TRUE(text.contains(QString::fromUtf8(key.data(), key.size()))) << key;
    }
}

TEST_F(WindowTest, HelpButtonOpensTheStartPage) {
    click(child("mainHelpButton"));
    EXPECT_TRUE(window->helpViewer()->isVisible());
    EXPECT_EQ(window->helpViewer()->currentPage().toStdString(), "index");
    EXPECT_FALSE(window->helpViewer()->browser()->document()->isEmpty());
    EXPECT_EQ(window->helpViewer()->browser()->documentTitle().toStdString(), "Brinora Help");
}

TEST_F(WindowTest, HelpButtonsOpenTheirNamedPages) {
    const auto buttons = window->findChildren<QPushButton*>(QStringLiteral("helpButton"));
    ASSERT_GE(buttons.size(), 4);
    for (QPushButton* button : buttons) {
        const QString page = button->property("alternateTitle").toString();
        ASSERT_FALSE(page.isEmpty());
        window->helpViewer()->openPage(QString());
        button->click();
        EXPECT_EQ(window->helpViewer()->currentPage(), page);
        EXPECT_FALSE(window->helpViewer()->browser()->document()->isEmpty()) << page.toStdString();
    }
}

TEST_F(WindowTest, HelpMenuOpensEveryPage) {
    QMenu* help = nullptr;
    for (QAction* action : window->menuBar()->actions()) {
        if (action->text() == QStringLiteral("&Help")) help = action->menu();
    }
    ASSERT_NE(help, nullptr);
    int pages = 0;
    for (QAction* action : help->actions()) {
        if (action->isSeparator()) continue;
        action->trigger();
        const QString expected = action->property("alternateTitle").toString();
        EXPECT_EQ(window->helpViewer()->currentPage(), expected.isEmpty() ? QStringLiteral("index") : expected)
            << action->text().toStdString();
        ++pages;
    }
    EXPECT_EQ(pages, static_cast<int>(helpPages().size()));
}

}  // namespace
}  // namespace brinora::testing
