#include "OrganID.h"

namespace organs {

QList<OrganID> all()
{
    return { OrganID::finance, OrganID::time, OrganID::reports, OrganID::unimelb, OrganID::health, OrganID::servers };
}

std::optional<OrganID> fromRaw(const QString& raw)
{
    for (const OrganID organ : all()) {
        if (rawValue(organ) == raw)
            return organ;
    }
    return std::nullopt;
}

QString rawValue(OrganID organ)
{
    switch (organ) {
    case OrganID::finance:
        return QStringLiteral("finance");
    case OrganID::time:
        return QStringLiteral("time");
    case OrganID::reports:
        return QStringLiteral("reports");
    case OrganID::unimelb:
        return QStringLiteral("unimelb");
    case OrganID::health:
        return QStringLiteral("health");
    case OrganID::servers:
        break;
    }
    return QStringLiteral("servers");
}

QString title(OrganID organ)
{
    switch (organ) {
    case OrganID::finance:
        return QStringLiteral("财务");
    case OrganID::time:
        return QStringLiteral("时间");
    case OrganID::reports:
        return QStringLiteral("日常");
    case OrganID::unimelb:
        return QStringLiteral("墨大");
    case OrganID::health:
        return QStringLiteral("身体");
    case OrganID::servers:
        break;
    }
    return QStringLiteral("服务器");
}

QString icon(OrganID organ)
{
    switch (organ) {
    case OrganID::finance:
        return QStringLiteral("💰");
    case OrganID::time:
        return QStringLiteral("⏱️");
    case OrganID::reports:
        return QStringLiteral("📊");
    case OrganID::unimelb:
        return QStringLiteral("🎓");
    case OrganID::health:
        return QStringLiteral("🏃");
    case OrganID::servers:
        break;
    }
    return QStringLiteral("🖥️");
}

QList<OrganSubScreen> subScreens(OrganID organ)
{
    switch (organ) {
    case OrganID::finance:
        return {
            { QStringLiteral("overview"), QStringLiteral("概览"), QStringLiteral("square.grid.2x2") },
            { QStringLiteral("accounts"), QStringLiteral("账户"), QStringLiteral("creditcard") },
            { QStringLiteral("transactions"), QStringLiteral("流水"), QStringLiteral("list.bullet") },
            { QStringLiteral("analysis"), QStringLiteral("分析"), QStringLiteral("chart.pie") },
            { QStringLiteral("assets"), QStringLiteral("资产"), QStringLiteral("building.columns") },
            { QStringLiteral("pending"), QStringLiteral("待审"), QStringLiteral("tray") },
            { QStringLiteral("budget"), QStringLiteral("预算"), QStringLiteral("gauge") },
            { QStringLiteral("categories"), QStringLiteral("分类"), QStringLiteral("tag") },
            { QStringLiteral("import"), QStringLiteral("导入"), QStringLiteral("square.and.arrow.down") },
            { QStringLiteral("export"), QStringLiteral("导出"), QStringLiteral("square.and.arrow.up") },
            { QStringLiteral("settings"), QStringLiteral("设置"), QStringLiteral("gearshape") },
        };
    case OrganID::time:
        return {
            { QStringLiteral("overview"), QStringLiteral("概览"), QStringLiteral("square.grid.2x2") },
            { QStringLiteral("confirm"), QStringLiteral("待确认"), QStringLiteral("tray") },
            { QStringLiteral("analysis"), QStringLiteral("分析"), QStringLiteral("chart.pie") },
        };
    case OrganID::reports:
        return {
            { QStringLiteral("overview"), QStringLiteral("概览"), QStringLiteral("square.grid.2x2") },
            { QStringLiteral("viewer"), QStringLiteral("报告"), QStringLiteral("doc.text") },
            { QStringLiteral("history"), QStringLiteral("封档"), QStringLiteral("archivebox") },
        };
    case OrganID::health:
        return {
            { QStringLiteral("overview"), QStringLiteral("概览"), QStringLiteral("square.grid.2x2") },
            { QStringLiteral("analysis"), QStringLiteral("分析"), QStringLiteral("chart.pie") },
        };
    case OrganID::unimelb:
    case OrganID::servers:
        break;
    }
    return {};
}

std::optional<OrganSubScreen> subScreen(OrganID organ, const QString& sub)
{
    const QString key = sub.startsWith(QStringLiteral("viewer")) ? QStringLiteral("viewer") : sub;
    for (const OrganSubScreen& screen : subScreens(organ)) {
        if (screen.id == key)
            return screen;
    }
    return std::nullopt;
}

OrganPlaceholder placeholder(OrganID organ)
{
    return { icon(organ), title(organ),
        QStringLiteral("「%1」的页面正在接入。数据照常进账，可以先在会话里记一笔。").arg(title(organ)) };
}

} // namespace organs
