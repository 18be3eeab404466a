#pragma once

#include <QString>

// The name the ledger gives a program, from its window class and its process name. The review
// of captured time matches browsers, messengers and this system's own programs by name, so the
// well-known ones get the names it knows; others are the class made readable.
QString applicationName(const QString& windowClass, const QString& processName);

// True for the programs of this system, whose windows are booked by their bare name.
bool isOwnProgram(const QString& processName);
