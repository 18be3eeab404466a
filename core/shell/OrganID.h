#pragma once

#include <QList>
#include <QString>

#include <optional>

// The top-level domains of the app, in sidebar order. The raw values are what navigation
// requests carry; "health" is the body organ and keeps that name.
enum class OrganID { finance, time, reports, unimelb, health, servers };

// One screen inside an organ, as its sidebar row shows it.
struct OrganSubScreen {
    QString id;
    QString name;
    QString systemImage;

    bool operator==(const OrganSubScreen&) const = default;
};

// What an organ shows while its own screens are not there.
struct OrganPlaceholder {
    QString icon;
    QString title;
    QString message;

    bool operator==(const OrganPlaceholder&) const = default;
};

namespace organs {

QList<OrganID> all();
// The organ of a raw value; nothing for a value no organ has.
std::optional<OrganID> fromRaw(const QString& raw);
QString rawValue(OrganID organ);
QString title(OrganID organ);
// The row's emoji.
QString icon(OrganID organ);
QList<OrganSubScreen> subScreens(OrganID organ);
// The sub-screen a `sub` names; any "viewer…" sub is the one viewer screen.
std::optional<OrganSubScreen> subScreen(OrganID organ, const QString& sub);
OrganPlaceholder placeholder(OrganID organ);

} // namespace organs
