#include "LexiconService.h"

#include "ApiError.h"
#include "HouseholdService.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include "Lexicon.h"

#include <QRegularExpression>

namespace lumen {

namespace {

constexpr int kMaxKeywordLength = 40;
constexpr int kMaxCategoryLength = 20;

QString kindName(language::EntryKind kind)
{
    switch (kind) {
    case language::EntryKind::income:
        return QStringLiteral("income");
    case language::EntryKind::reserved:
        return QStringLiteral("reserved");
    case language::EntryKind::expense:
        break;
    }
    return QStringLiteral("expense");
}

std::optional<language::EntryKind> kindNamed(const QString& name)
{
    if (name == QLatin1String("expense"))
        return language::EntryKind::expense;
    if (name == QLatin1String("income"))
        return language::EntryKind::income;
    if (name == QLatin1String("reserved"))
        return language::EntryKind::reserved;
    return std::nullopt;
}

wire::FinanceKeyword keywordRow(db::Statement& query)
{
    return { int(query.integer(0)), query.text(1), query.text(2), query.text(3) };
}

} // namespace

LexiconService::LexiconService(db::Database& database, HouseholdService& households, std::shared_ptr<Clock> clock)
    : m_database(database)
    , m_households(households)
    , m_clock(std::move(clock))
{
}

std::shared_ptr<const language::Lexicon> LexiconService::lexiconFor(qint64 householdId)
{
    quint64 generation = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (const auto found = m_cache.find(householdId); found != m_cache.end())
            return found->second;
        generation = m_generations[householdId];
    }
    // Built outside the lock. A change that lands meanwhile moves the generation on, and the
    // words read before it are handed out once but not kept.
    auto built = build(householdId);
    const std::lock_guard lock(m_mutex);
    if (m_generations[householdId] == generation)
        m_cache.insert_or_assign(householdId, built);
    return built;
}

void LexiconService::invalidate(qint64 householdId)
{
    const std::lock_guard lock(m_mutex);
    m_cache.erase(householdId);
    ++m_generations[householdId];
}

std::shared_ptr<const language::Lexicon> LexiconService::build(qint64 householdId)
{
    auto lexicon = std::make_shared<language::Lexicon>(language::Lexicon::withDefaults());
    db::Connection& connection = m_database.connection();
    auto words = connection.prepare(
        "SELECT keyword, category, kind FROM finance_keywords WHERE household_id = :household ORDER BY id");
    words.bind(":household", householdId);
    while (words.step()) {
        lexicon->addFinanceWord(
            words.text(0), words.text(1), kindNamed(words.text(2)).value_or(language::EntryKind::expense));
    }
    // The household's own finance categories are found by name, and book their own way.
    auto financeCategories = connection.prepare(
        "SELECT name, kind FROM finance_categories WHERE household_id = :household ORDER BY sort_order, id");
    financeCategories.bind(":household", householdId);
    while (financeCategories.step()) {
        const QString name = financeCategories.text(0);
        if (!lexicon->isFinanceCategory(name)) {
            lexicon->addFinanceCategory(name,
                financeCategories.text(1) == QStringLiteral("income") ? language::EntryKind::income
                                                                      : language::EntryKind::expense);
        }
    }
    static const QRegularExpression separators(QStringLiteral("[,，、;；\\s]+"));
    auto categories = connection.prepare(
        "SELECT name, keywords FROM time_categories WHERE household_id = :household AND deleted_at IS NULL "
        "ORDER BY sort_order, id");
    categories.bind(":household", householdId);
    while (categories.step()) {
        const QString name = categories.text(0);
        // A category of the household's own making is found by its name; the built-in ones
        // already have their words, weighed against each other.
        if (!language::Lexicon::builtIn().isTimeCategory(name))
            lexicon->addTimeWord(name, name);
        for (const QString& keyword : categories.text(1).split(separators, Qt::SkipEmptyParts))
            lexicon->addTimeWord(keyword, name);
    }
    return lexicon;
}

std::vector<wire::FinanceKeyword> LexiconService::financeWords(qint64 userId)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare("SELECT id, keyword, category, kind FROM finance_keywords "
                                                 "WHERE household_id = :household ORDER BY keyword");
    query.bind(":household", household.id);
    std::vector<wire::FinanceKeyword> rows;
    while (query.step())
        rows.push_back(keywordRow(query));
    return rows;
}

wire::FinanceKeyword LexiconService::addFinanceWord(qint64 userId, const wire::FinanceKeywordCreate& request)
{
    const QString keyword = request.keyword.trimmed().toLower();
    const QString category = request.category.trimmed();
    if (keyword.isEmpty() || keyword.size() > kMaxKeywordLength)
        throw ApiError::unprocessable(QStringLiteral("关键词不能为空，最多 %1 个字").arg(kMaxKeywordLength));
    if (category.isEmpty() || category.size() > kMaxCategoryLength)
        throw ApiError::unprocessable(QStringLiteral("分类不能为空，最多 %1 个字").arg(kMaxCategoryLength));
    const Household household = m_households.householdOf(userId);
    language::EntryKind kind = lexiconFor(household.id)->kindOf(category);
    if (request.kind) {
        const auto named = kindNamed(*request.kind);
        if (!named)
            throw ApiError::unprocessable(QStringLiteral("kind 只能是 expense、income 或 reserved"));
        kind = *named;
    }
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    connection
        .prepare("INSERT INTO finance_keywords (household_id, keyword, category, kind, created_by, created_at) "
                 "VALUES (:household, :keyword, :category, :kind, :user, :now) "
                 "ON CONFLICT (household_id, keyword) DO UPDATE SET category = excluded.category, kind = excluded.kind")
        .bind(":household", household.id)
        .bind(":keyword", keyword)
        .bind(":category", category)
        .bind(":kind", kindName(kind))
        .bind(":user", userId)
        .bind(":now", m_clock->nowSecs())
        .run();
    wire::FinanceKeyword result;
    {
        auto row = connection.prepare("SELECT id, keyword, category, kind FROM finance_keywords "
                                      "WHERE household_id = :household AND keyword = :keyword");
        row.bind(":household", household.id).bind(":keyword", keyword);
        if (row.step())
            result = keywordRow(row);
    }
    transaction.commit();
    invalidate(household.id);
    return result;
}

void LexiconService::removeFinanceWord(qint64 userId, qint64 id)
{
    const Household household = m_households.householdOf(userId);
    const int removed = m_database.connection()
                            .prepare("DELETE FROM finance_keywords WHERE id = :id AND household_id = :household")
                            .bind(":id", id)
                            .bind(":household", household.id)
                            .run();
    if (removed == 0)
        throw ApiError::notFound(QStringLiteral("关键词不存在"));
    invalidate(household.id);
}

} // namespace lumen
