#include "app/OrganisationMenu.h"

#include "model/ModelContext.h"
#include "model/OrganisationDocument.h"
#include "ui/LibraryWindow.h"
#include "ui/PlainFileIconProvider.h"
#include "ui/PlainText.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>

namespace {
const QString kFilter = QStringLiteral("Thimblecraft organisation (*.json)");

// A file dialog that does not read the files it lists (the store's locks would go).
QString chooseFile(QWidget *parent, QFileDialog::AcceptMode mode)
{
    PlainFileIconProvider icons;
    QFileDialog dialog(parent);
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setIconProvider(&icons);
    dialog.setOption(QFileDialog::DontUseCustomDirectoryIcons, true);
    dialog.setAcceptMode(mode);
    dialog.setNameFilter(kFilter);
    dialog.setDirectory(QDir::homePath());
    if (mode == QFileDialog::AcceptSave) {
        dialog.setWindowTitle(QStringLiteral("Export Organisation"));
        dialog.setDefaultSuffix(QStringLiteral("json"));
        dialog.selectFile(QStringLiteral("Thimblecraft Organisation.json"));
    } else {
        dialog.setWindowTitle(QStringLiteral("Import Organisation"));
        dialog.setFileMode(QFileDialog::ExistingFile);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().size() != 1)
        return {};
    return dialog.selectedFiles().first();
}

void tell(QWidget *parent, QMessageBox::Icon icon, const QString &text, const QString &details)
{
    auto *box =
        new QMessageBox(icon, QStringLiteral("Thimblecraft"), text, QMessageBox::Ok, parent);
    box->setTextFormat(Qt::PlainText);
    PlainText::setInformativeText(box, details);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void exportOrganisation(LibraryWindow &window)
{
    const QString path = chooseFile(&window, QFileDialog::AcceptSave);
    if (path.isEmpty())
        return;
    const QByteArray document = exportDocument(window.context());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(document) != document.size() ||
        !file.commit())
        tell(&window, QMessageBox::Warning,
             QStringLiteral("The organisation couldn’t be exported."), file.errorString());
}

void importOrganisation(LibraryWindow &window)
{
    const QString path = chooseFile(&window, QFileDialog::AcceptOpen);
    if (path.isEmpty())
        return;
    QFile file(path);
    QByteArray document;
    if (file.open(QIODevice::ReadOnly))
        document = file.read(Organisation::maxDocumentBytes + 1);
    QString error = file.error() != QFileDevice::NoError ? file.errorString() : QString();
    ModelContext &context = window.context();
    std::optional<ImportSummary> planned;
    if (error.isEmpty())
        planned = importDocument(context, document, ImportMode::dryRun, &error);
    if (!planned) {
        tell(&window, QMessageBox::Warning,
             QStringLiteral("The organisation couldn’t be imported."), error);
        return;
    }
    QMessageBox question(
        QMessageBox::Question, QStringLiteral("Import Organisation"),
        QStringLiteral("Import the organisation from “%1”?").arg(QFileInfo(path).fileName()),
        QMessageBox::NoButton, &window);
    question.setTextFormat(Qt::PlainText);
    PlainText::setInformativeText(&question, planned->text());
    QPushButton *import = question.addButton(QStringLiteral("Import"), QMessageBox::AcceptRole);
    question.addButton(QMessageBox::Cancel);
    question.exec();
    if (question.clickedButton() != import)
        return;
    const auto applied = importDocument(context, document, ImportMode::apply, &error);
    if (!applied || !context.save(&error))
        tell(&window, QMessageBox::Warning,
             QStringLiteral("The organisation couldn’t be imported."), error);
}
} // namespace

void addOrganisationCommands(QMenu *fileMenu, LibraryWindow &window, QAction **exportAction,
                             QAction **importAction)
{
    *exportAction = fileMenu->addAction(QStringLiteral("Export Organisation…"));
    (*exportAction)->setObjectName(QStringLiteral("exportOrganisationCommand"));
    QObject::connect(*exportAction, &QAction::triggered, &window,
                     [&window] { exportOrganisation(window); });
    *importAction = fileMenu->addAction(QStringLiteral("Import Organisation…"));
    (*importAction)->setObjectName(QStringLiteral("importOrganisationCommand"));
    QObject::connect(*importAction, &QAction::triggered, &window,
                     [&window] { importOrganisation(window); });
    for (QAction *action : {*exportAction, *importAction}) {
        action->setShortcutContext(Qt::WindowShortcut);
        window.addAction(action);
    }
}
