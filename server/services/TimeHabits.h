#pragma once

#include <QString>

#include <optional>

namespace lumen {

namespace db {
class Connection;
} // namespace db

// What the ledger learns from confirmations of captured time: once the same application has
// been confirmed into the same category twice, its later captures arrive with that category.
class TimeHabits {
public:
    static constexpr int confirmationsToLearn = 2;

    // The application a captured activity names ("Google Chrome · 课件" is "google chrome");
    // empty for an offscreen block, which names none.
    static QString appOf(const QString& activity);
    static bool isCaptureSource(const QString& source);

    static std::optional<int> categoryFor(db::Connection& connection, qint64 userId, const QString& app);
    // Counts one confirmation; true when it taught the ledger something new. Entries of the
    // application still waiting without a category then get it as their suggestion.
    static bool recordConfirmation(
        db::Connection& connection, qint64 userId, const QString& app, int categoryId, qint64 nowSecs);
};

} // namespace lumen
