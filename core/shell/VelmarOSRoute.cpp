#include "VelmarOSRoute.h"

QString VelmarOSRoute::title() const
{
    switch (kind) {
    case Kind::home:
        return QStringLiteral("首页");
    case Kind::conversation:
        return QStringLiteral("会话");
    case Kind::organ:
        break;
    }
    // An organ without a sub-screen of that name shows its title alone.
    const auto screen = organs::subScreen(organ, sub);
    return screen ? organs::title(organ) + QStringLiteral(" · ") + screen->name : organs::title(organ);
}

QString VelmarOSRoute::kindName() const
{
    switch (kind) {
    case Kind::home:
        return QStringLiteral("home");
    case Kind::conversation:
        return QStringLiteral("conversation");
    case Kind::organ:
        break;
    }
    return QStringLiteral("organ");
}
