#pragma once

#include <QByteArrayView>
#include <QString>
#include <string>
#include <string_view>
#include <unordered_map>

// Texts that many rows share (colours, Shortcuts folder names, bundle identifiers), converted
// once and handed out as shared copies: a row then allocates nothing for them, and a large
// library holds each such text once. Past a bound, new texts are converted every time, so a
// column of unique values cannot grow the table without end.
class RepeatedTexts {
public:
    explicit RepeatedTexts(size_t bound = 4096) : m_bound(bound) {}

    QString text(QByteArrayView utf8);
    size_t size() const { return m_texts.size(); }

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_map<std::string, QString, Hash, std::equal_to<>> m_texts;
    size_t m_bound;
};
