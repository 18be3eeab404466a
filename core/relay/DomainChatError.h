#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

// Why a domain's input bar could not act on a sentence.
class DomainChatError : public std::exception {
public:
    enum class Kind { NotImplemented, ActionFailed };

    static DomainChatError notImplemented(QString domain) { return { Kind::NotImplemented, std::move(domain) }; }
    static DomainChatError actionFailed(QString reason) { return { Kind::ActionFailed, std::move(reason) }; }

    Kind kind() const { return m_kind; }
    QString description() const
    {
        if (m_kind == Kind::NotImplemented)
            return QStringLiteral("%1 领域的对话功能开发中，敬请期待").arg(m_text);
        return m_text;
    }
    const char* what() const noexcept override { return m_what.constData(); }

private:
    DomainChatError(Kind kind, QString text)
        : m_kind(kind)
        , m_text(std::move(text))
        , m_what(description().toUtf8())
    {
    }

    Kind m_kind;
    QString m_text;
    QByteArray m_what;
};
