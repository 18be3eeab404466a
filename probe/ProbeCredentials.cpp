#include "ProbeCredentials.h"

#include "PrivateFile.h"

#include <QFile>
#include <QStandardPaths>

ProbeCredentials::ProbeCredentials(QString path)
    : m_path(std::move(path))
{
}

QString ProbeCredentials::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
        + QStringLiteral("/focus-probe/token");
}

std::optional<QString> ProbeCredentials::read()
{
    QFile file(m_path);
    if (!file.exists()) {
        m_problem = QStringLiteral("没有 focus-probe 的登录凭据（%1）：请运行 focus-probe sign-in；片段先存在本地")
                        .arg(m_path);
        return std::nullopt;
    }
    const QFileDevice::Permissions others
        = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    if (file.permissions() & others) {
        m_problem = QStringLiteral("凭据文件 %1 其他用户可读，未使用：请执行 chmod 600").arg(m_path);
        return std::nullopt;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        m_problem = QStringLiteral("无法读取凭据文件 %1：%2").arg(m_path, file.errorString());
        return std::nullopt;
    }
    const QString token = QString::fromUtf8(file.readLine(4096)).trimmed();
    if (token.isEmpty()) {
        m_problem = QStringLiteral("凭据文件 %1 是空的：请运行 focus-probe sign-in").arg(m_path);
        return std::nullopt;
    }
    m_problem.clear();
    return token;
}

bool ProbeCredentials::write(const QString& token)
{
    const QString error = writePrivateFile(m_path, token.toUtf8() + '\n');
    m_problem = error.isEmpty() ? QString() : QStringLiteral("无法写入凭据文件 %1：%2").arg(m_path, error);
    return error.isEmpty();
}
