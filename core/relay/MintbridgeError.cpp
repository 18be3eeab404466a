#include "MintbridgeError.h"

MintbridgeError::MintbridgeError(Kind kind, int status, std::optional<QString> detail, QString text)
    : m_kind(kind)
    , m_status(status)
    , m_detail(std::move(detail))
    , m_text(std::move(text))
{
    m_what = userMessage().toUtf8();
}

MintbridgeError MintbridgeError::rateLimited(std::optional<QString> detail)
{
    return { Kind::RateLimited, 429, std::move(detail), {} };
}

MintbridgeError MintbridgeError::serverError(int status, std::optional<QString> detail)
{
    return { Kind::ServerError, status, std::move(detail), {} };
}

MintbridgeError MintbridgeError::transport(QString text)
{
    return { Kind::Transport, 0, std::nullopt, std::move(text) };
}

MintbridgeError MintbridgeError::decodeFailed(QString text)
{
    return { Kind::DecodeFailed, 0, std::nullopt, std::move(text) };
}

MintbridgeError MintbridgeError::badURL()
{
    return { Kind::BadURL, 0, std::nullopt, {} };
}

MintbridgeError MintbridgeError::unauthorized()
{
    return { Kind::Unauthorized, 401, std::nullopt, {} };
}

MintbridgeError MintbridgeError::killSwitchActive()
{
    return { Kind::KillSwitchActive, 503, std::nullopt, {} };
}

MintbridgeError MintbridgeError::timeout()
{
    return { Kind::Timeout, 0, std::nullopt, {} };
}

QString MintbridgeError::userMessage() const
{
    switch (m_kind) {
    case Kind::RateLimited:
        return m_detail.value_or(QStringLiteral("今日 200 次 claude 调用上限已到（自动 24h 滑窗重置）"));
    case Kind::ServerError:
        return m_detail.value_or(QStringLiteral("Mac CC 错误（%1）").arg(m_status));
    case Kind::Transport:
        return QStringLiteral("%1（Mac 可能离线）").arg(m_text);
    case Kind::DecodeFailed:
        return QStringLiteral("mintbridge 响应解析失败：%1").arg(m_text);
    case Kind::BadURL:
        return QStringLiteral("mintbridge URL 拼装失败");
    case Kind::Unauthorized:
        return QStringLiteral("mintbridge token 失效。点右上角 ⋯ → 配置 Mintbridge 中继 Token 重新粘贴。");
    case Kind::KillSwitchActive:
        return QStringLiteral("mintbridge 已紧急停用（~/.mintbridge-disable）");
    case Kind::Timeout:
        return QStringLiteral("Mac CC 响应超时 — 可能 MacBook 合盖了");
    }
    return {};
}
