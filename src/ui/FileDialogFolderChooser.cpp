#include "ui/FileDialogFolderChooser.h"

#include "model/AppSettings.h"
#include "ui/PlainFileIconProvider.h"

#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>

QString FileDialogFolderChooser::startDirectory(const QString &requested)
{
    if (!requested.isEmpty() && QDir(requested).exists())
        return requested;
    // Away from macOS the Shortcuts folder is the simulated app's, beside its default library.
    const QString simulated = QDir(AppSettings::dataDirectory())
                                  .filePath(QStringLiteral("Simulated Shortcuts/Shortcuts"));
    if (QDir(simulated).exists())
        return simulated;
    return QDir::homePath();
}

std::optional<QString> FileDialogFolderChooser::chooseFolder(const Request &request)
{
    // Browsing must not open any file it lists (the library's store among them); the provider
    // outlives the dialog that uses it.
    PlainFileIconProvider icons;
    QFileDialog dialog(m_parent);
    // The built-in dialog can show the explanation; native ones have no place for it.
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setIconProvider(&icons);
    dialog.setOption(QFileDialog::DontUseCustomDirectoryIcons, true);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setDirectory(startDirectory(request.startDirectory));
    if (!request.prompt.isEmpty())
        dialog.setLabelText(QFileDialog::Accept, request.prompt);
    if (!request.message.isEmpty()) {
        dialog.setWindowTitle(request.prompt.isEmpty() ? request.message : request.prompt);
        if (auto *grid = qobject_cast<QGridLayout *>(dialog.layout())) {
            auto *label = new QLabel(request.message, &dialog);
            label->setObjectName(QStringLiteral("folderChooserMessage"));
            label->setWordWrap(true);
            grid->addWidget(label, grid->rowCount(), 0, 1, grid->columnCount());
        }
    }
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    const QStringList chosen = dialog.selectedFiles();
    if (chosen.size() != 1 || chosen.first().isEmpty())
        return std::nullopt;
    return chosen.first();
}
