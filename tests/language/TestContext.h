#pragma once

// A fixed moment for the language tests: Thursday 2026-05-14, 20:15 in Melbourne, unless a test
// says otherwise. Built fresh per call; nothing is shared between tests.

#include "Context.h"

#include <QDateTime>
#include <QTimeZone>

inline language::Context contextAt(QDate day = QDate(2026, 5, 14), QTime time = QTime(20, 15))
{
    language::Context context;
    context.now = QDateTime(day, time, context.zone);
    return context;
}
