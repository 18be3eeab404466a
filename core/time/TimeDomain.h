#pragma once

// Small rules over time records that the store and the time screens share.

#include "time/TimeDomainModels.h"

#include <QString>

#include <optional>
#include <vector>

// One application's share of a captured block, as the sensor notes it.
struct AppShare {
    QString app;
    int pct = 0;

    bool operator==(const AppShare&) const = default;
};

// Minutes as the screens show them: "45m", "2h", "1h30m". Rounded to the minute, never negative.
QString timeHM(double minutes);

// "HH:MM" (a third part is ignored) to minutes since midnight; nothing for anything else.
std::optional<int> parseHM(const QString& text);

// The per-app breakdown of a captured entry's note: a JSON object of app → percent, largest
// first, or the older "App 60% · Other 30%" text in its written order.
std::vector<AppShare> appBreakdown(const std::optional<QString>& rawNote);
std::vector<AppShare> appBreakdown(const wire::TimeEntry& entry);

// The first three shares as "App 60% · Other 30%"; nothing when there is no breakdown.
std::optional<QString> appBreakdownText(const wire::TimeEntry& entry);

// The first entry of each id, in order: a list can repeat an entry across a page seam.
std::vector<wire::TimeEntry> dedupedByID(std::vector<wire::TimeEntry> entries);

// The local copy of an entry after an edit, shown until the next fetch. The server keeps the
// note and the place; the copy blanks them rather than show what may no longer fit.
wire::TimeEntry applyPatch(const wire::TimeEntry& entry, const wire::TimeEntryUpdateRequest& request);
