#include "model/RepeatedTexts.h"

QString RepeatedTexts::text(QByteArrayView utf8)
{
    const std::string_view key(utf8.data(), size_t(utf8.size()));
    if (const auto found = m_texts.find(key); found != m_texts.end())
        return found->second;
    QString converted = QString::fromUtf8(utf8);
    if (m_texts.size() < m_bound)
        m_texts.emplace(std::string(key), converted);
    return converted;
}
