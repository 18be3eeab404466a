#include "UserNames.h"

#include <QRegularExpression>

namespace lumen {

QString normalizedUsername(const QString& typed)
{
    return typed.trimmed().toLower();
}

std::optional<QString> usernameProblem(const QString& normalized)
{
    static const QRegularExpression pattern(QStringLiteral("^[a-z0-9][a-z0-9._-]{0,31}$"));
    if (pattern.match(normalized).hasMatch())
        return std::nullopt;
    return QStringLiteral("用户名须为 1 到 32 个小写字母、数字、点、下划线或连字符，并以字母或数字开头");
}

} // namespace lumen
