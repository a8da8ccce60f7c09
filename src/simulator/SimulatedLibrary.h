#pragma once

#include <QColor>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

// The simulated Shortcuts app's library: shortcuts, folders in order, and switches for the
// platform's failures. Read from a JSON file (format in README.md) that a person may edit while
// the program runs.
struct SimulatedShortcut {
    // What running the shortcut gives: output text(s), a file, or an error.
    struct RunResult {
        QStringList outputs; // one text, several (a list reply), or none; "{input}" is replaced
        bool outputIsList = false;
        QString outputFile; // a file location instead of text
        std::optional<qint64> errorNumber;
        QString errorMessage;
        int delayMilliseconds = 0;
    };

    QString identifier;
    QString name;
    QString subtitle;
    QColor color;
    bool acceptsInput = false;
    qint64 actionCount = 0;
    QString folder;
    QString glyph;
    QColor iconTop;
    QColor iconBottom;
    std::optional<QDateTime> createdAt;
    std::optional<QDateTime> modifiedAt;
    std::optional<QDateTime> lastRunAt;
    QString appBundleID;
    bool customIcon = false; // the user picked an icon in Shortcuts
    RunResult run;
};

struct SimulatedLibrary {
    struct Switches {
        bool running = true;                // false: every script fails with -600
        bool automationAllowed = true;      // false: every script fails with -1743
        bool scriptedIconsAllowed = true;   // false: icon scripts fail with -10004
        bool runByIdentifierAllowed = true; // false: "run shortcut id" fails with -10004
        bool colorsAsData = false;          // colours as 6 raw bytes instead of 3-item lists
        int listDelayMilliseconds = 0;      // how long the list script takes (a large library)
    };

    Switches switches;
    QStringList folders;                // in the Shortcuts app's order
    QList<SimulatedShortcut> shortcuts; // in the Shortcuts app's order

    const SimulatedShortcut *shortcutWithIdentifier(const QString &identifier) const;
    const SimulatedShortcut *shortcutNamed(const QString &name) const;

    // Clear errors for the person editing the file: which entry and what is wrong.
    static std::optional<SimulatedLibrary> fromJson(const QByteArray &json, QString *error);
    static std::optional<SimulatedLibrary> load(const QString &path, QString *error);
    QJsonObject toJson() const;
    bool save(const QString &path, QString *error = nullptr) const;

    // <data dir>/Simulated Shortcuts/library.json
    static QString defaultPath();
    // The shipped sample library (a Qt resource).
    static QByteArray sampleJson();
    // Copies the sample to path unless a file is there already. False when it cannot be written.
    static bool ensureFile(const QString &path, QString *error = nullptr);
};
