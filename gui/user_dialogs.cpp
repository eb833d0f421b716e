#include "gui/user_dialogs.h"

#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

namespace brinora {

namespace {

QString toQString(const std::string& text) { return QString::fromStdString(text); }

QString nameFilterFor(const std::vector<std::string>& types) {
    QStringList patterns;
    for (const auto& type : types) patterns << QStringLiteral("*.") + toQString(type);
    if (patterns.isEmpty()) return QObject::tr("All files (*)");
    return QObject::tr("%1 files (%2)").arg(toQString(types.front()).toUpper(), patterns.join(' '));
}

}  // namespace

QString expandedFolder(const std::string& folder) {
    QString path = toQString(folder);
    if (path == "~" || path.startsWith("~/")) path = QDir::homePath() + path.mid(1);
    if (path.isEmpty() || !QDir(path).exists()) return QDir::homePath();
    return path;
}

std::vector<std::string> QtUserDialogs::runOpenPanel(QWidget* parent, const OpenPanelRequest& request) {
    QFileDialog dialog(parent, QObject::tr("Open"), expandedFolder(request.directory),
                       nameFilterFor(request.allowedTypes));
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(request.allowsMultipleSelection ? QFileDialog::ExistingFiles
                                                       : QFileDialog::ExistingFile);
    std::vector<std::string> chosen;
    if (dialog.exec() != QDialog::Accepted) return chosen;
    for (const QString& file : dialog.selectedFiles()) chosen.push_back(file.toStdString());
    return chosen;
}

std::optional<std::string> QtUserDialogs::runSavePanel(QWidget* parent, const SavePanelRequest& request) {
    QFileDialog dialog(parent, QObject::tr("Save"), expandedFolder(request.directory),
                       nameFilterFor({request.requiredType}));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(toQString(request.requiredType));
    dialog.selectFile(toQString(request.proposedName));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    QString path = dialog.selectedFiles().constFirst();
    const QString suffix = QStringLiteral(".") + toQString(request.requiredType);
    if (!request.requiredType.empty() && !path.endsWith(suffix, Qt::CaseInsensitive)) path += suffix;
    return path.toStdString();
}

void QtUserDialogs::presentError(QWidget* parent, const PresentedError& error) {
    QMessageBox box(QMessageBox::Warning, QObject::tr("Brinora"), toQString(error.localizedDescription),
                    QMessageBox::Ok, parent);
    box.exec();
}

void QtUserDialogs::runAlert(QWidget* parent, const Alert& alert) {
    QMessageBox box(QMessageBox::Information, QObject::tr("Brinora"), toQString(alert.messageText),
                    QMessageBox::NoButton, parent);
    box.setInformativeText(toQString(alert.informativeText));
    for (const auto& title : alert.buttons) box.addButton(toQString(title), QMessageBox::AcceptRole);
    if (alert.buttons.empty()) box.addButton(QMessageBox::Ok);
    box.exec();
}

bool QtUserDialogs::askQuestion(QWidget* parent, const Question& question) {
    QMessageBox box(QMessageBox::Question, QObject::tr("Brinora"), toQString(question.messageText),
                    QMessageBox::NoButton, parent);
    box.setInformativeText(toQString(question.informativeText));
    QPushButton* accept = box.addButton(toQString(question.acceptButton), QMessageBox::AcceptRole);
    QPushButton* reject = box.addButton(toQString(question.rejectButton), QMessageBox::RejectRole);
    box.setDefaultButton(reject);
    box.setEscapeButton(reject);
    box.exec();
    return box.clickedButton() == accept;
}

}  // namespace brinora
