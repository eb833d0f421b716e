// The dialogs that ask or tell the user something: open and save panels,
// presented errors and alerts. The window asks through this interface, so a
// test or the screenshot tour can answer in the user's place.
#pragma once

#include <QWidget>

#include <optional>
#include <string>
#include <vector>

#include "app/ui.h"

namespace brinora {

// A question with two answers, such as whether to go on with a run.
struct Question {
    std::string messageText;      // bold first line
    std::string informativeText;  // smaller text below it
    std::string acceptButton;     // title of the button that goes on
    std::string rejectButton;     // title of the button that holds back; the default
};

class UserDialogs {
public:
    virtual ~UserDialogs() = default;
    // The chosen files as full paths; empty on Cancel.
    virtual std::vector<std::string> runOpenPanel(QWidget* parent, const OpenPanelRequest& request) = 0;
    // The chosen full path; nothing on Cancel.
    virtual std::optional<std::string> runSavePanel(QWidget* parent, const SavePanelRequest& request) = 0;
    // Shows `error` and returns once the user has acknowledged it.
    virtual void presentError(QWidget* parent, const PresentedError& error) = 0;
    // Shows `alert` and returns once the user has dismissed it.
    virtual void runAlert(QWidget* parent, const Alert& alert) = 0;
    // Asks `question`; true when the user chose its accept button.
    virtual bool askQuestion(QWidget* parent, const Question& question) = 0;
};

// The real dialogs: QFileDialog and QMessageBox.
class QtUserDialogs : public UserDialogs {
public:
    std::vector<std::string> runOpenPanel(QWidget* parent, const OpenPanelRequest& request) override;
    std::optional<std::string> runSavePanel(QWidget* parent, const SavePanelRequest& request) override;
    void presentError(QWidget* parent, const PresentedError& error) override;
    void runAlert(QWidget* parent, const Alert& alert) override;
    bool askQuestion(QWidget* parent, const Question& question) override;
};

// A stored folder ("~/Documents") as a real path: a leading "~" becomes the
// home folder; a folder that does not exist gives the home folder.
QString expandedFolder(const std::string& folder);

}  // namespace brinora
