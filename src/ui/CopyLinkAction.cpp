#include "ui/CopyLinkAction.h"

#include "ui/SymbolIcon.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>

void addCopyLinkAction(QMenu *menu, const QUrl &link)
{
    QAction *copy =
        menu->addAction(SymbolIcon::icon(QStringLiteral("link")), QStringLiteral("Copy Link"));
    copy->setObjectName(QStringLiteral("copyLink"));
    QObject::connect(copy, &QAction::triggered, menu, [link] {
        auto *data = new QMimeData;
        data->setText(link.toString(QUrl::FullyEncoded));
        data->setUrls({link});
        QGuiApplication::clipboard()->setMimeData(data);
    });
}
