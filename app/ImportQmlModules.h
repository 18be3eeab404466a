#pragma once

// The static QML modules of the client; include in exactly one file per executable.
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(VelmarOS_CorePlugin)
Q_IMPORT_QML_PLUGIN(VelmarOS_ThemePlugin)
Q_IMPORT_QML_PLUGIN(VelmarOS_LoginPlugin)
Q_IMPORT_QML_PLUGIN(VelmarOS_ActivityPlugin)
Q_IMPORT_QML_PLUGIN(VelmarOS_DashboardPlugin)
Q_IMPORT_QML_PLUGIN(VelmarOS_ChatPlugin)
Q_IMPORT_QML_PLUGIN(VelmarOS_ShellPlugin)
