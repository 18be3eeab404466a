#include "ApplicationName.h"

#include <QHash>

namespace {

// Lower-cased window class or process name → the name the review rules know.
const QHash<QString, QString>& knownNames()
{
    static const QHash<QString, QString> names {
        { QStringLiteral("velmaros"), QStringLiteral("Velmar OS") },
        { QStringLiteral("focus-probe"), QStringLiteral("focus-probe") },
        { QStringLiteral("firefox"), QStringLiteral("Firefox") },
        { QStringLiteral("firefox-esr"), QStringLiteral("Firefox") },
        { QStringLiteral("google-chrome"), QStringLiteral("Google Chrome") },
        { QStringLiteral("microsoft-edge"), QStringLiteral("Microsoft Edge") },
        { QStringLiteral("brave-browser"), QStringLiteral("Brave Browser") },
        { QStringLiteral("telegramdesktop"), QStringLiteral("Telegram") },
        { QStringLiteral("telegram-desktop"), QStringLiteral("Telegram") },
        { QStringLiteral("wechat"), QStringLiteral("WeChat") },
        { QStringLiteral("discord"), QStringLiteral("Discord") },
    };
    return names;
}

} // namespace

bool isOwnProgram(const QString& processName)
{
    return processName == QStringLiteral("velmaros") || processName == QStringLiteral("focus-probe");
}

QString applicationName(const QString& windowClass, const QString& processName)
{
    if (isOwnProgram(processName))
        return knownNames().value(processName);
    if (const QString known = knownNames().value(windowClass.trimmed().toLower()); !known.isEmpty())
        return known;
    // "Gnome-terminal" reads as "Gnome terminal"; an empty class falls back to the process.
    QString name = windowClass.trimmed().isEmpty() ? processName.trimmed() : windowClass.trimmed();
    name.replace(u'-', u' ').replace(u'_', u' ');
    if (!name.isEmpty())
        name[0] = name[0].toUpper();
    return name;
}
