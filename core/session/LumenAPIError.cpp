#include "LumenAPIError.h"

LumenAPIError::LumenAPIError(Kind kind, int status, std::optional<QString> detail, QString text)
    : m_kind(kind)
    , m_status(status)
    , m_detail(std::move(detail))
    , m_text(std::move(text))
{
    m_what = userMessage().toUtf8();
}

LumenAPIError LumenAPIError::unauthorized(std::optional<QString> detail)
{
    return { Kind::Unauthorized, 401, std::move(detail), {} };
}

LumenAPIError LumenAPIError::forbidden(std::optional<QString> detail)
{
    return { Kind::Forbidden, 403, std::move(detail), {} };
}

LumenAPIError LumenAPIError::notFound(std::optional<QString> detail)
{
    return { Kind::NotFound, 404, std::move(detail), {} };
}

LumenAPIError LumenAPIError::clientError(int status, std::optional<QString> detail)
{
    return { Kind::ClientError, status, std::move(detail), {} };
}

LumenAPIError LumenAPIError::serverError(int status, std::optional<QString> detail)
{
    return { Kind::ServerError, status, std::move(detail), {} };
}

LumenAPIError LumenAPIError::decodeFailed(QString text)
{
    return { Kind::DecodeFailed, 0, std::nullopt, std::move(text) };
}

LumenAPIError LumenAPIError::transport(QString text)
{
    return { Kind::Transport, 0, std::nullopt, std::move(text) };
}

LumenAPIError LumenAPIError::badURL()
{
    return { Kind::BadURL, 0, std::nullopt, {} };
}

LumenAPIError LumenAPIError::timeout()
{
    return { Kind::Timeout, 0, std::nullopt, {} };
}

QString LumenAPIError::userMessage() const
{
    switch (m_kind) {
    case Kind::Unauthorized:
        return QStringLiteral("Bearer token 失效，请重新输入");
    case Kind::Forbidden:
        return m_detail.value_or(QStringLiteral("无权限"));
    case Kind::NotFound:
        return m_detail.value_or(QStringLiteral("endpoint 不存在"));
    case Kind::ClientError:
        return m_detail.value_or(QStringLiteral("客户端错误（%1）").arg(m_status));
    case Kind::ServerError:
        return m_detail.value_or(QStringLiteral("服务端错误（%1）— 稍后重试").arg(m_status));
    case Kind::DecodeFailed:
        return QStringLiteral("JSON 解析失败：%1").arg(m_text);
    case Kind::Transport:
        return QStringLiteral("网络错误：%1").arg(m_text);
    case Kind::BadURL:
        return QStringLiteral("请求 URL 拼装失败");
    case Kind::Timeout:
        return QStringLiteral("请求超时");
    }
    return {};
}

bool LumenAPIError::isRetryable() const
{
    return m_kind == Kind::ServerError || m_kind == Kind::Transport || m_kind == Kind::Timeout;
}

int LumenAPIError::statusCode() const
{
    return m_status;
}

const char* LumenAPIError::what() const noexcept
{
    return m_what.constData();
}
