#pragma once

#include "OrganID.h"

#include <QString>

// What the centre of the shell shows: an organ at one of its sub-screens, the home screen,
// or the conversation. Lives only in the view: a restart starts at home.
struct VelmarOSRoute {
    enum class Kind { organ, home, conversation };

    Kind kind = Kind::home;
    OrganID organ = OrganID::finance; // meaningful for `organ` only
    QString sub;

    static VelmarOSRoute home() { return {}; }
    static VelmarOSRoute conversation() { return { Kind::conversation, OrganID::finance, {} }; }
    static VelmarOSRoute organRoute(OrganID organ, QString sub) { return { Kind::organ, organ, std::move(sub) }; }

    // "首页", "会话", or the organ's title and its sub-screen's name: "财务 · 流水".
    QString title() const;
    QString kindName() const;

    bool operator==(const VelmarOSRoute& other) const
    {
        if (kind != other.kind)
            return false;
        return kind != Kind::organ || (organ == other.organ && sub == other.sub);
    }
};
