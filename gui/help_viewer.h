// The help book "Brinora Help": HTML pages shipped inside the program, shown
// in a small browser window with Back, Forward and Contents.
#pragma once

#include <QMainWindow>
#include <QString>
#include <QTextBrowser>
#include <QUrl>

#include <vector>

namespace brinora {

// One page of the help book: its name (the file name without ".html") and title.
struct HelpPage {
    QString name;
    QString title;
};

// The pages of the book in reading order; the first is the start page.
const std::vector<HelpPage>& helpPages();

// Address of the page named `name` ("" for the start page).
QUrl helpPageUrl(const QString& name);

class HelpViewer : public QMainWindow {
    Q_OBJECT
public:
    explicit HelpViewer(QWidget* parent = nullptr);

    // Shows the page named `name` ("" or "index" for the start page; a name
    // may carry ".html").
    void openPage(const QString& name);
    // Name of the page on show.
    QString currentPage() const;
    QTextBrowser* browser() const { return browser_; }

private:
    QTextBrowser* browser_;
};

}  // namespace brinora
