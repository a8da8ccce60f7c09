#include "app/LinkRouter.h"

#include "model/LibraryLinks.h"
#include "model/LibraryLookup.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "shortcuts/ShortcutRunner.h"
#include "ui/LibraryNavigation.h"
#include "ui/LibraryWindow.h"
#include "ui/PlainText.h"
#include "ui/WindowSettings.h"

#include <QMessageBox>
#include <QPushButton>

LinkRouter::LinkRouter(LibraryWindow &window, QObject *parent) : QObject(parent), m_window(window)
{
}

void LinkRouter::open(const QString &urlText)
{
    const QUrl url(urlText);
    const QString host = url.host();
    if (host == QLatin1String("run-success") || host == QLatin1String("run-error")) {
        m_window.openURL(urlText);
        return;
    }
    const auto link = LibraryLinks::parse(url);
    if (!link) {
        ignore(url, QStringLiteral("Thimblecraft doesn’t know what to do with this link."));
        return;
    }
    ModelContext &context = m_window.context();
    LibraryNavigation &navigation = m_window.navigation();
    if (link->action == LibraryLinks::Link::Action::openSection) {
        const auto section = LibraryLookup::sectionFor(context, link->section);
        if (!section) {
            ignore(url, QStringLiteral("The link names no section of the library."));
            return;
        }
        navigation.setSection(*section);
        return;
    }
    const QList<ShortcutItem *> found = LibraryLookup::shortcutsFor(context, link->shortcut);
    if (found.size() != 1) {
        ignore(url, found.isEmpty()
                        ? QStringLiteral("The link’s shortcut isn’t in the library.")
                        : QStringLiteral("The link’s name belongs to several shortcuts."));
        return;
    }
    ShortcutItem *item = found.first();
    if (link->action == LibraryLinks::Link::Action::openShortcut) {
        navigation.setSection(item->isMissing() ? LibrarySection::missing()
                                                : LibrarySection::all());
        navigation.setSelectedShortcut(item);
        return;
    }
    if (WindowSettings::shared().linksRunWithoutAsking()) {
        m_window.runner().run(item, link->input, RunSource::link);
        return;
    }
    if (m_confirm) {
        if (m_confirm(item->name(), link->input))
            m_window.runner().run(item, link->input, RunSource::link);
        return;
    }
    askToRun(item, link->input);
}

void LinkRouter::askToRun(ShortcutItem *item, const std::optional<QString> &input)
{
    auto *question = new QMessageBox(QMessageBox::Question, QStringLiteral("Thimblecraft"),
                                     QStringLiteral("Run “%1”?").arg(item->name()),
                                     QMessageBox::NoButton, &m_window);
    question->setObjectName(QStringLiteral("runLinkQuestion"));
    question->setTextFormat(Qt::PlainText);
    PlainText::setInformativeText(
        question, input ? QStringLiteral("A link asks to run it with this input:\n") + *input
                        : QStringLiteral("A link asks to run it."));
    QPushButton *run = question->addButton(QStringLiteral("Run"), QMessageBox::AcceptRole);
    question->addButton(QMessageBox::Cancel);
    question->setDefaultButton(QMessageBox::Cancel);
    question->setAttribute(Qt::WA_DeleteOnClose);
    const QString identifier = item->identifier();
    connect(question, &QMessageBox::finished, this, [this, question, run, identifier, input] {
        if (question->clickedButton() != run)
            return;
        // The shortcut may have gone while the question was open.
        const QList<ShortcutItem *> found =
            LibraryLookup::shortcutsFor(m_window.context(), identifier);
        if (found.size() == 1)
            m_window.runner().run(found.first(), input);
    });
    question->open();
}

void LinkRouter::ignore(const QUrl &url, const QString &why)
{
    emit linkIgnored(why);
    if (m_confirm)
        return; // tests answer for the person; no notice window then
    auto *notice = new QMessageBox(QMessageBox::Information, QStringLiteral("Thimblecraft"), why,
                                   QMessageBox::Ok, &m_window);
    notice->setObjectName(QStringLiteral("ignoredLinkNotice"));
    notice->setTextFormat(Qt::PlainText);
    PlainText::setInformativeText(notice, url.toDisplayString());
    notice->setAttribute(Qt::WA_DeleteOnClose);
    notice->open();
}
