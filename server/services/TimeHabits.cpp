#include "TimeHabits.h"

#include "db/Connection.h"

#include <vector>

namespace lumen {

namespace {

const QString kSeparator = QStringLiteral(" · ");
const QString kOffscreen = QStringLiteral("离屏");
const QString kSensorSource = QStringLiteral("mac-sensor");

} // namespace

QString TimeHabits::appOf(const QString& activity)
{
    QString app = activity;
    if (const qsizetype at = app.indexOf(kSeparator); at >= 0)
        app.truncate(at);
    app = app.trimmed();
    if (app == kOffscreen)
        return {};
    return app.toLower();
}

bool TimeHabits::isCaptureSource(const QString& source)
{
    return source == kSensorSource;
}

std::optional<int> TimeHabits::categoryFor(db::Connection& connection, qint64 userId, const QString& app)
{
    if (app.isEmpty())
        return std::nullopt;
    auto query = connection.prepare("SELECT category_id FROM time_habits WHERE user_id = :user AND app = :app");
    query.bind(":user", userId).bind(":app", app);
    if (!query.step())
        return std::nullopt;
    return int(query.integer(0));
}

bool TimeHabits::recordConfirmation(
    db::Connection& connection, qint64 userId, const QString& app, int categoryId, qint64 nowSecs)
{
    if (app.isEmpty())
        return false;
    connection
        .prepare("INSERT INTO time_habit_counts (user_id, app, category_id, count) VALUES (:user, :app, :category, 1) "
                 "ON CONFLICT (user_id, app, category_id) DO UPDATE SET count = count + 1")
        .bind(":user", userId)
        .bind(":app", app)
        .bind(":category", categoryId)
        .run();
    qint64 count = 0;
    {
        auto counted = connection.prepare(
            "SELECT count FROM time_habit_counts WHERE user_id = :user AND app = :app AND category_id = :category");
        counted.bind(":user", userId).bind(":app", app).bind(":category", categoryId);
        if (counted.step())
            count = counted.integer(0);
    }
    if (count < confirmationsToLearn || categoryFor(connection, userId, app) == categoryId)
        return false;
    connection
        .prepare(
            "INSERT INTO time_habits (user_id, app, category_id, learned_at) VALUES (:user, :app, :category, :now) "
            "ON CONFLICT (user_id, app) DO UPDATE SET category_id = excluded.category_id, "
            "learned_at = excluded.learned_at")
        .bind(":user", userId)
        .bind(":app", app)
        .bind(":category", categoryId)
        .bind(":now", nowSecs)
        .run();
    // A fresh habit also speaks for what is already waiting: those captures get it as a suggestion.
    std::vector<qint64> waiting;
    {
        auto query = connection.prepare("SELECT id, activity FROM time_entries WHERE user_id = :user "
                                        "AND confirmed = 0 AND category_id IS NULL AND source = :source");
        query.bind(":user", userId).bind(":source", kSensorSource);
        while (query.step()) {
            if (appOf(query.text(1)) == app)
                waiting.push_back(query.integer(0));
        }
    }
    for (const qint64 id : waiting) {
        connection.prepare("UPDATE time_entries SET category_id = :category WHERE id = :id")
            .bind(":category", categoryId)
            .bind(":id", id)
            .run();
    }
    return true;
}

} // namespace lumen
