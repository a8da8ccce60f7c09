#include "ui/HealthReportModel.h"

#include "model/ColorHex.h"
#include "model/ModelContext.h"
#include "ui/PlainText.h"
#include "ui/ShortcutRoles.h"

#include <QColor>
#include <QLocale>

namespace {
using Kind = HealthFinding::Kind;

QString kindSymbol(Kind kind)
{
    switch (kind) {
    case Kind::duplicateName:
        return QStringLiteral("plus.square.on.square");
    case Kind::unsafeName:
        return QStringLiteral("textformat");
    case Kind::unreadableRules:
        return QStringLiteral("exclamationmark.triangle.fill");
    case Kind::deletedReference:
        return QStringLiteral("sparkles");
    case Kind::unlinkedPlaceholder:
        return QStringLiteral("questionmark.circle");
    case Kind::organisedMissing:
        return QStringLiteral("questionmark.folder");
    case Kind::lastRunFailed:
        return QStringLiteral("exclamationmark.triangle.fill");
    case Kind::notRunRecently:
        return QStringLiteral("moon.zzz");
    case Kind::emptyFolder:
        return QStringLiteral("folder");
    case Kind::emptyTag:
        return QStringLiteral("tag");
    }
    return {};
}

// The symbol and tint the sidebar shows for the record (a shortcut draws its own icon).
std::pair<QString, QString> recordLook(const Record *record)
{
    switch (record->kind()) {
    case Record::Kind::libraryFolder: {
        const auto *folder = static_cast<const LibraryFolder *>(record);
        return {folder->symbolName(), folder->colorHex()};
    }
    case Record::Kind::tag:
        return {QStringLiteral("tag.fill"), static_cast<const Tag *>(record)->colorHex()};
    case Record::Kind::smartList: {
        const auto *list = static_cast<const SmartList *>(record);
        return {list->symbolName(), list->colorHex()};
    }
    case Record::Kind::shortcutItem:
        break;
    }
    return {};
}
} // namespace

int HealthReportModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

void HealthReportModel::setHealth(const LibraryHealth &health)
{
    beginResetModel();
    ++m_revision;
    m_rows.clear();
    for (const HealthGroup &group : health.groups) {
        m_rows.append({RowKind::heading,
                       LibraryHealth::title(group.kind),
                       QLocale().toString(group.findings.size()),
                       kindSymbol(group.kind),
                       {},
                       {}});
        m_rows.append(
            {RowKind::explanation, LibraryHealth::explanation(group.kind), {}, {}, {}, {}});
        m_rows.append({RowKind::fix,
                       QStringLiteral("To fix: ") + LibraryHealth::fix(group.kind),
                       {},
                       {},
                       {},
                       {}});
        for (const HealthFinding &finding : group.findings) {
            const auto [symbol, tint] = recordLook(finding.record);
            m_rows.append({RowKind::entry, finding.subject(), finding.detail(), symbol, tint,
                           finding.record});
        }
    }
    endResetModel();
}

const HealthReportModel::Row *HealthReportModel::rowAt(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this || index.row() >= m_rows.size())
        return nullptr;
    return &m_rows[index.row()];
}

QVariant HealthReportModel::data(const QModelIndex &index, int role) const
{
    const Row *at = rowAt(index);
    if (!at)
        return {};
    const Row &row = *at;
    switch (role) {
    case Qt::DisplayRole:
        return row.text;
    case Qt::ToolTipRole:
        return row.kind == RowKind::entry ? QVariant(PlainText::markupSafe(row.text)) : QVariant();
    case Qt::AccessibleTextRole:
        return row.secondary.isEmpty() ? row.text : row.text + QStringLiteral(", ") + row.secondary;
    case HealthReportRoles::rowKind:
        return int(row.kind);
    case HealthReportRoles::symbolName:
        return row.symbol.isEmpty() ? QVariant() : QVariant(row.symbol);
    case HealthReportRoles::tint:
        if (const auto rgb = rgbComponentsIfValid(row.tintHex))
            return QColor::fromRgbF(float(rgb->red), float(rgb->green), float(rgb->blue));
        return {};
    case HealthReportRoles::secondaryText:
        return row.secondary;
    default:
        return {};
    }
}

Qt::ItemFlags HealthReportModel::flags(const QModelIndex &index) const
{
    const Row *row = rowAt(index);
    if (!row)
        return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return row->kind == RowKind::entry ? flags | Qt::ItemIsSelectable : flags;
}

HealthReportModel::RowKind HealthReportModel::rowKind(const QModelIndex &index) const
{
    const Row *row = rowAt(index);
    return row ? row->kind : RowKind::explanation;
}

Record *HealthReportModel::recordAt(const QModelIndex &index) const
{
    const Row *row = rowAt(index);
    Record *record = row ? row->record : nullptr;
    return record && !record->isDeleted() ? record : nullptr;
}

const ShortcutItem *HealthReportModel::shortcutAt(const QModelIndex &index) const
{
    const Record *record = recordAt(index);
    return record && record->kind() == Record::Kind::shortcutItem
               ? static_cast<const ShortcutItem *>(record)
               : nullptr;
}
