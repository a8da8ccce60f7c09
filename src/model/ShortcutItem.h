#pragma once

#include "model/ProcessedIcon.h"
#include "model/Record.h"
#include "model/RunOutcome.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <optional>

class LibraryFolder;
class Tag;

// One shortcut of the Shortcuts app as the library knows it.
class ShortcutItem final : public Record {
public:
    ShortcutItem(const QString &identifier, const QString &name);
    ~ShortcutItem() override;
    Kind kind() const override { return Kind::shortcutItem; }

    const QString &identifier() const { return m_identifier; }
    void setIdentifier(const QString &v);
    const QString &name() const { return m_name; }
    void setName(const QString &v);
    const QString &subtitle() const { return m_subtitle; }
    void setSubtitle(const QString &v);
    const QString &nativeFolderName() const { return m_nativeFolderName; }
    void setNativeFolderName(const QString &v);
    const QString &colorHex() const { return m_colorHex; }
    void setColorHex(const QString &v);

    // Read from the store on first use; hasIconData() answers without loading the bytes.
    std::optional<QByteArray> iconData() const;
    bool hasIconData() const { return m_hasIcon; }
    void setIconData(const std::optional<QByteArray> &v);

    const QString &iconTopHex() const { return m_iconTopHex; }
    void setIconTopHex(const QString &v);
    const QString &iconBottomHex() const { return m_iconBottomHex; }
    void setIconBottomHex(const QString &v);
    qint64 libraryOrder() const { return m_libraryOrder; }
    void setLibraryOrder(qint64 v);
    const QString &appBundleID() const { return m_appBundleID; }
    void setAppBundleID(const QString &v);
    const QString &iconAppBundleID() const { return m_iconAppBundleID; }
    void setIconAppBundleID(const QString &v);
    bool acceptsInput() const { return m_acceptsInput; }
    void setAcceptsInput(bool v);
    qint64 actionCount() const { return m_actionCount; }
    void setActionCount(qint64 v);
    const std::optional<QDateTime> &nativeCreatedAt() const { return m_nativeCreatedAt; }
    void setNativeCreatedAt(const std::optional<QDateTime> &v);
    const std::optional<QDateTime> &nativeModifiedAt() const { return m_nativeModifiedAt; }
    void setNativeModifiedAt(const std::optional<QDateTime> &v);
    const QDateTime &firstSeenAt() const { return m_firstSeenAt; }
    void setFirstSeenAt(const QDateTime &v);
    const QDateTime &lastChangedAt() const { return m_lastChangedAt; }
    void setLastChangedAt(const QDateTime &v);
    const QDateTime &lastSeenAt() const { return m_lastSeenAt; }
    void setLastSeenAt(const QDateTime &v);
    bool isMissing() const { return m_isMissing; }
    void setIsMissing(bool v);
    bool isFavorite() const { return m_isFavorite; }
    void setIsFavorite(bool v);
    const std::optional<QDateTime> &lastRunAt() const { return m_lastRunAt; }
    void setLastRunAt(const std::optional<QDateTime> &v);
    qint64 runCount() const { return m_runCount; }
    void setRunCount(qint64 v);
    // How the last run that finished ended.
    RunOutcome lastRunOutcome() const { return m_lastRunOutcome; }
    void setLastRunOutcome(RunOutcome v);
    const QString &notes() const { return m_notes; }
    void setNotes(const QString &v);

    // Relationships; the other side (LibraryFolder::shortcuts, Tag::shortcuts) follows.
    LibraryFolder *folder() const { return m_folder; }
    void setFolder(LibraryFolder *folder);
    const QList<Tag *> &tags() const { return m_tags; }
    void addTag(Tag *tag);
    void removeTag(Tag *tag);
    void setTags(const QList<Tag *> &tags);
    bool hasTag(const Tag *tag) const { return m_tags.contains(const_cast<Tag *>(tag)); }

    // Tags by name, natural and case-insensitive order.
    QList<Tag *> sortedTags() const;
    QDateTime addedDate() const { return m_nativeCreatedAt.value_or(m_firstSeenAt); }
    QDateTime modifiedDate() const { return m_nativeModifiedAt.value_or(m_lastChangedAt); }
    // Takes a processed icon; an app icon chosen earlier keeps its image.
    void applyProcessedIcon(const IconProcessing::Result &result);

private:
    friend class LibraryFolder;
    friend class Tag;
    friend class ModelContext;
    friend class LibraryStore;

    QString m_identifier;
    QString m_name;
    QString m_subtitle;
    QString m_nativeFolderName;
    QString m_colorHex;
    QString m_iconTopHex;
    QString m_iconBottomHex;
    qint64 m_libraryOrder = 0;
    QString m_appBundleID;
    QString m_iconAppBundleID;
    bool m_acceptsInput = false;
    qint64 m_actionCount = 0;
    std::optional<QDateTime> m_nativeCreatedAt;
    std::optional<QDateTime> m_nativeModifiedAt;
    QDateTime m_firstSeenAt;
    QDateTime m_lastChangedAt;
    QDateTime m_lastSeenAt;
    bool m_isMissing = false;
    bool m_isFavorite = false;
    std::optional<QDateTime> m_lastRunAt;
    qint64 m_runCount = 0;
    RunOutcome m_lastRunOutcome = RunOutcome::none;
    QString m_notes;
    LibraryFolder *m_folder = nullptr;
    QList<Tag *> m_tags;

    // Icon bytes live apart from the row: loaded lazily, written only when changed.
    bool m_hasIcon = false;
    mutable bool m_iconLoaded = true;
    mutable QByteArray m_iconBytes;
    bool m_iconDirty = false;
    bool m_tagsDirty = false;
    // What changed since the last save: any field but the three below (the whole row is
    // written), libraryOrder, or only lastSeenAt / isMissing.
    bool m_rowDirty = false;
    bool m_orderDirty = false;
    bool m_seenDirty = false;
    // The file had no sync row for this item; the next save of it writes one.
    bool m_syncRowMissing = false;
};
