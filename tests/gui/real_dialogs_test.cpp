// The real dialogs of the program (message boxes and file dialogs), answered
// by a timer that finds them on screen.
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>

#include <functional>

#include "gui_fixture.h"

namespace brinora::testing {
namespace {

// Runs `answer` on the modal dialog once it is on screen (looking for it a
// bounded number of times, so that a missing dialog fails instead of hanging).
void answerNextDialog(std::function<void(QWidget*)> answer, int triesLeft = 200) {
    QTimer::singleShot(triesLeft == 200 ? 0 : 10, [answer = std::move(answer), triesLeft] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog) {
            answer(dialog);
        } else if (triesLeft > 0) {
            answerNextDialog(answer, triesLeft - 1);
        } else {
            ADD_FAILURE() << "no dialog appeared";
        }
    });
}

TEST(RealDialogs, PresentedErrorShowsTheMessage) {
    QtUserDialogs dialogs;
    QString shown;
    answerNextDialog([&](QWidget* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        shown = box->text();
        box->accept();
    });
    dialogs.presentError(nullptr, PresentedError{"BrinoraApp", 0, "There are no datapoints to process."});
    EXPECT_EQ(shown.toStdString(), "There are no datapoints to process.");
}

TEST(RealDialogs, AlertShowsMessageInformativeTextAndButton) {
    QtUserDialogs dialogs;
    QString text, informative, button;
    answerNextDialog([&](QWidget* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        text = box->text();
        informative = box->informativeText();
        ASSERT_EQ(box->buttons().size(), 1);
        button = box->buttons().front()->text();
        box->buttons().front()->click();
    });
    dialogs.runAlert(nullptr, Alert{"Batch Processing of File Completed", "File Input:\na\n", {"OK"}});
    EXPECT_EQ(text.toStdString(), "Batch Processing of File Completed");
    EXPECT_EQ(informative.toStdString(), "File Input:\na\n");
    EXPECT_EQ(button.toStdString(), "OK");
}

TEST(RealDialogs, SavePanelProposesTheNameAndAddsTheType) {
    QTemporaryDir folder;
    QtUserDialogs dialogs;
    QString proposed;
    answerNextDialog([&](QWidget* dialog) {
        auto* panel = qobject_cast<QFileDialog*>(dialog);
        ASSERT_NE(panel, nullptr);
        auto* name = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(name, nullptr);
        proposed = name->text();
        name->setText(QStringLiteral("records"));
        static_cast<QDialog*>(panel)->accept();  // QFileDialog::accept checks the name
    });
    const auto chosen = dialogs.runSavePanel(
        nullptr, SavePanelRequest{"csv", folder.path().toStdString(), "Station 7.csv"});
    EXPECT_EQ(proposed.toStdString(), "Station 7.csv");
    ASSERT_TRUE(chosen.has_value());
    EXPECT_EQ(*chosen, QDir(folder.path()).filePath(QStringLiteral("records.csv")).toStdString());
}

TEST(RealDialogs, CancelledOpenPanelChoosesNothing) {
    QtUserDialogs dialogs;
    answerNextDialog([](QWidget* dialog) { static_cast<QDialog*>(dialog)->reject(); });
    EXPECT_TRUE(dialogs.runOpenPanel(nullptr, OpenPanelRequest{{"csv"}, "~/Documents", false}).empty());
}

TEST(RealDialogs, StoredFoldersAreExpanded) {
    EXPECT_EQ(expandedFolder("~"), QDir::homePath());
    EXPECT_EQ(expandedFolder("/no/such/folder/anywhere"), QDir::homePath());
    QTemporaryDir folder;
    EXPECT_EQ(expandedFolder(folder.path().toStdString()), folder.path());
}

}  // namespace
}  // namespace brinora::testing
