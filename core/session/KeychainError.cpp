#include "KeychainError.h"

KeychainError::KeychainError(Kind kind, int status, QString text)
    : m_kind(kind)
    , m_status(status)
    , m_text(std::move(text))
    , m_what(description().toUtf8())
{
}

QString KeychainError::description() const
{
    switch (m_kind) {
    case Kind::UnexpectedStatus:
        return QStringLiteral("钥匙串错误（%1）").arg(m_status);
    case Kind::FileWriteFailed:
        return QStringLiteral("凭据写入失败：%1").arg(m_text);
    case Kind::NotFound:
        return QStringLiteral("未找到登录凭据，请重新登录");
    }
    return {};
}
