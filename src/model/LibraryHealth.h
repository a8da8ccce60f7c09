#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

class ModelContext;
class Record;
class ShortcutItem;

// One thing in the library that makes shortcuts fail or hard to find, about one record.
struct HealthFinding {
    // In the order the report shows them: what breaks runs first, clutter last.
    enum class Kind {
        duplicateName,
        unsafeName,
        unreadableRules,
        deletedReference,
        unlinkedPlaceholder,
        organisedMissing,
        lastRunFailed,
        notRunRecently,
        emptyFolder,
        emptyTag,
    };

    Kind kind = Kind::duplicateName;
    // The shortcut, folder, tag or smart list concerned.
    Record *record = nullptr;
    // By kind: how many other shortcuts share the name; the NameHazards flags; the rules naming
    // a deleted folder (and in `extra`, a deleted tag); the records below an empty folder or tag.
    int number = 0;
    int extra = 0;

    // The record's name as people read it: a folder or tag by its path, and characters that
    // would not show (line breaks, controls) written as escapes.
    QString subject() const;
    // What exactly is wrong with this one ("ends with a space", "last run 2023-04-01").
    QString detail() const;
};

struct HealthGroup {
    HealthFinding::Kind kind;
    QList<HealthFinding> findings;
};

// The health check of a library: findings grouped by kind, each group with a short
// explanation and how to fix it.
struct LibraryHealth {
    static constexpr int quietDays = 180;

    QList<HealthGroup> groups; // only kinds with findings, in the order of Kind
    qsizetype problemCount() const;

    // One pass over the library; "now" (Clock::now() unless given) decides what is quiet.
    static LibraryHealth of(const ModelContext &context);
    static LibraryHealth of(const ModelContext &context, const QDateTime &now);

    // Everything of one shortcut the check reads: when a change leaves these as they were,
    // the findings stand (until the clock moves on). Filing or tagging a shortcut changes the
    // folder or tag record too, which is always checked.
    struct Inputs {
        QString name;
        bool missing = false;
        bool placeholder = false;
        bool organisedMissing = false;
        bool lastRunFailed = false;
        std::optional<QDateTime> lastRunAt;
        QDateTime addedDate;
        bool operator==(const Inputs &) const = default;
    };
    static Inputs inputsOf(const ShortcutItem &item);

    // The kind's name in the command line's JSON ("duplicateNames", …).
    static QString storedName(HealthFinding::Kind kind);
    static QString title(HealthFinding::Kind kind);
    static QString explanation(HealthFinding::Kind kind);
    static QString fix(HealthFinding::Kind kind);
    // Line breaks, tabs and other controls as visible escapes (\n, \t, \u{1B}).
    static QString visibleText(const QString &text);
};
