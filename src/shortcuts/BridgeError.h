#pragma once

#include <QString>
#include <utility>
#include <variant>

// A scripting failure; its description is the text the user sees.
class BridgeError {
public:
    enum class Kind { script, unexpectedReply };

    static BridgeError script(qint64 number, const QString &message)
    {
        return BridgeError(Kind::script, number, message);
    }
    static BridgeError unexpectedReply() { return BridgeError(Kind::unexpectedReply, 0, {}); }

    Kind kind() const { return m_kind; }
    qint64 number() const { return m_number; }
    const QString &message() const { return m_message; }
    QString localizedDescription() const;

    bool operator==(const BridgeError &) const = default;

private:
    BridgeError(Kind kind, qint64 number, QString message)
        : m_kind(kind), m_number(number), m_message(std::move(message))
    {
    }
    Kind m_kind;
    qint64 m_number;
    QString m_message;
};

// A value or the bridge failure that stopped it.
template<typename T> class BridgeResult {
public:
    BridgeResult(T value) : m_state(std::move(value)) {}
    BridgeResult(BridgeError error) : m_state(std::move(error)) {}

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }
    const T &value() const { return std::get<0>(m_state); }
    T &value() { return std::get<0>(m_state); }
    const BridgeError &error() const { return std::get<1>(m_state); }

private:
    std::variant<T, BridgeError> m_state;
};
