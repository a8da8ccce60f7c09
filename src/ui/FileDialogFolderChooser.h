#pragma once

#include "shortcuts/FolderChooser.h"

class QWidget;

// The folder chooser of the desktop: a directories-only file dialog.
class FileDialogFolderChooser final : public FolderChooser {
public:
    explicit FileDialogFolderChooser(QWidget *parent = nullptr) : m_parent(parent) {}
    std::optional<QString> chooseFolder(const Request &request) override;
    // Where the dialog opens: the requested folder when it exists, else the simulated Shortcuts
    // folder when there is one, else the home folder.
    static QString startDirectory(const QString &requested);

private:
    QWidget *m_parent;
};
