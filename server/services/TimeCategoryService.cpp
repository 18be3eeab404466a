#include "TimeCategoryService.h"

#include "ApiError.h"
#include "HouseholdService.h"
#include "LexiconService.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "db/Transaction.h"

#include <QRegularExpression>

#include <sqlite3.h>

namespace lumen {

namespace {

constexpr int kMaxNameLength = 20;
constexpr int kMaxKeywordsLength = 500;

// Colours for categories created without one, picked by id so neighbours differ.
const char* const kPalette[]
    = { "#0A84FF", "#30D158", "#FF9F0A", "#FF375F", "#5E5CE6", "#64D2FF", "#FFD60A", "#BF5AF2", "#AC8E68" };

wire::TimeCategory categoryRow(db::Statement& query)
{
    return { int(query.integer(0)), query.text(1), query.optionalText(2), int(query.integer(3)),
        query.optionalText(4) };
}

QString checkedName(const QString& raw)
{
    const QString name = raw.trimmed();
    if (name.isEmpty() || name.size() > kMaxNameLength)
        throw ApiError::unprocessable(QStringLiteral("分类名称不能为空，最多 %1 个字").arg(kMaxNameLength));
    return name;
}

QString checkedColor(const QString& raw)
{
    static const QRegularExpression form(QStringLiteral("^#[0-9A-Fa-f]{6}$"));
    const QString color = raw.trimmed();
    if (!form.match(color).hasMatch())
        throw ApiError::unprocessable(QStringLiteral("颜色格式应为 #RRGGBB"));
    return color.toUpper();
}

QString checkedKeywords(const QString& raw)
{
    const QString keywords = raw.trimmed();
    if (keywords.size() > kMaxKeywordsLength)
        throw ApiError::unprocessable(QStringLiteral("关键词最多 %1 个字").arg(kMaxKeywordsLength));
    return keywords;
}

bool isUniqueViolation(const db::DbError& error)
{
    return (error.code() & 0xff) == SQLITE_CONSTRAINT;
}

} // namespace

TimeCategoryService::TimeCategoryService(
    db::Database& database, HouseholdService& households, LexiconService& lexicons, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_lexicons(lexicons)
    , m_clock(std::move(clock))
{
}

void TimeCategoryService::seedDefaults(db::Connection& connection, qint64 householdId)
{
    connection
        .prepare("INSERT OR IGNORE INTO time_categories (household_id, id, name, color, sort_order, value_dim) "
                 "SELECT :household, id, name, color, sort_order, value_dim FROM time_category_defaults")
        .bind(":household", householdId)
        .run();
}

std::optional<wire::TimeCategory> TimeCategoryService::liveCategory(
    db::Connection& connection, qint64 householdId, int id)
{
    auto query = connection.prepare("SELECT id, name, color, sort_order, value_dim FROM time_categories "
                                    "WHERE household_id = :household AND id = :id AND deleted_at IS NULL");
    query.bind(":household", householdId).bind(":id", id);
    if (!query.step())
        return std::nullopt;
    return categoryRow(query);
}

std::optional<int> TimeCategoryService::liveIdByName(
    db::Connection& connection, qint64 householdId, const QString& name)
{
    auto query = connection.prepare("SELECT id FROM time_categories "
                                    "WHERE household_id = :household AND name = :name AND deleted_at IS NULL");
    query.bind(":household", householdId).bind(":name", name.trimmed());
    if (!query.step())
        return std::nullopt;
    return int(query.integer(0));
}

std::vector<wire::TimeCategory> TimeCategoryService::list(qint64 userId)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare("SELECT id, name, color, sort_order, value_dim FROM time_categories "
                                                 "WHERE household_id = :household AND deleted_at IS NULL "
                                                 "ORDER BY sort_order, id");
    query.bind(":household", household.id);
    std::vector<wire::TimeCategory> categories;
    while (query.step())
        categories.push_back(categoryRow(query));
    return categories;
}

wire::TimeCategoryCreateResponse TimeCategoryService::create(
    qint64 userId, const wire::TimeCategoryCreateRequest& request)
{
    const QString name = checkedName(request.name);
    const QString keywords = checkedKeywords(request.keywords);
    const std::optional<QString> color
        = request.color.trimmed().isEmpty() ? std::nullopt : std::optional<QString>(checkedColor(request.color));
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    if (liveIdByName(connection, household.id, name))
        throw ApiError::conflict(QStringLiteral("分类「%1」已存在").arg(name));

    wire::TimeCategoryCreateResponse response { true, std::nullopt, false };
    {
        auto hidden = connection.prepare("SELECT id FROM time_categories WHERE household_id = :household "
                                         "AND name = :name AND deleted_at IS NOT NULL ORDER BY id DESC LIMIT 1");
        hidden.bind(":household", household.id).bind(":name", name);
        if (hidden.step())
            response.id = int(hidden.integer(0));
    }
    if (response.id) {
        auto revive = connection.prepare("UPDATE time_categories SET deleted_at = NULL, keywords = :keywords, "
                                         "sort_order = :sort, color = COALESCE(:color, color) "
                                         "WHERE household_id = :household AND id = :id");
        revive.bind(":keywords", keywords)
            .bind(":sort", request.sort_order)
            .bind(":color", color)
            .bind(":household", household.id)
            .bind(":id", *response.id);
        revive.run();
        response.revived = true;
    } else {
        int next = 1;
        {
            auto top = connection.prepare(
                "SELECT COALESCE(MAX(id), 0) + 1 FROM time_categories WHERE household_id = :household");
            top.bind(":household", household.id);
            if (top.step())
                next = int(top.integer(0));
        }
        const QString fallback = QString::fromLatin1(kPalette[next % std::size(kPalette)]);
        connection
            .prepare("INSERT INTO time_categories (household_id, id, name, color, sort_order, keywords) "
                     "VALUES (:household, :id, :name, :color, :sort, :keywords)")
            .bind(":household", household.id)
            .bind(":id", next)
            .bind(":name", name)
            .bind(":color", color.value_or(fallback))
            .bind(":sort", request.sort_order)
            .bind(":keywords", keywords)
            .run();
        response.id = next;
    }
    transaction.commit();
    m_lexicons.invalidate(household.id);
    return response;
}

void TimeCategoryService::update(qint64 userId, int id, const wire::TimeCategoryUpdateRequest& request)
{
    const std::optional<QString> name
        = request.name ? std::optional<QString>(checkedName(*request.name)) : std::nullopt;
    const std::optional<QString> color
        = request.color ? std::optional<QString>(checkedColor(*request.color)) : std::nullopt;
    const std::optional<QString> keywords
        = request.keywords ? std::optional<QString>(checkedKeywords(*request.keywords)) : std::nullopt;
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    if (!liveCategory(connection, household.id, id))
        throw ApiError::notFound(QStringLiteral("时间分类不存在"));
    auto statement = connection.prepare("UPDATE time_categories SET name = COALESCE(:name, name), "
                                        "color = COALESCE(:color, color), keywords = COALESCE(:keywords, keywords), "
                                        "sort_order = COALESCE(:sort, sort_order) "
                                        "WHERE household_id = :household AND id = :id");
    statement.bind(":name", name).bind(":color", color).bind(":keywords", keywords);
    if (request.sort_order)
        statement.bind(":sort", *request.sort_order);
    else
        statement.bindNull(":sort");
    statement.bind(":household", household.id).bind(":id", id);
    try {
        statement.run();
    } catch (const db::DbError& error) {
        if (isUniqueViolation(error) && name)
            throw ApiError::conflict(QStringLiteral("分类「%1」已存在").arg(*name));
        throw;
    }
    transaction.commit();
    m_lexicons.invalidate(household.id);
}

void TimeCategoryService::remove(qint64 userId, int id)
{
    const Household household = m_households.householdOf(userId);
    const int hidden = m_database.connection()
                           .prepare("UPDATE time_categories SET deleted_at = :now "
                                    "WHERE household_id = :household AND id = :id AND deleted_at IS NULL")
                           .bind(":now", m_clock->nowSecs())
                           .bind(":household", household.id)
                           .bind(":id", id)
                           .run();
    if (hidden == 0)
        throw ApiError::notFound(QStringLiteral("时间分类不存在"));
    m_lexicons.invalidate(household.id);
}

} // namespace lumen
