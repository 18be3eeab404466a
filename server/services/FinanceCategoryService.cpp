#include "FinanceCategoryService.h"

#include "ApiError.h"
#include "FinanceInput.h"
#include "HouseholdService.h"
#include "LexiconService.h"
#include "db/Database.h"
#include "db/Transaction.h"

#include <QRegularExpression>

namespace lumen {

namespace {

const QString kNoCategory = QStringLiteral("分类不存在");
const QString kDefaultColor = QStringLiteral("#8E8E93");
constexpr int kMaxCategoryName = 20;

wire::FinanceCategory categoryRow(db::Statement& query)
{
    wire::FinanceCategory category;
    category.id = int(query.integer(0));
    category.name = query.text(1);
    category.color = query.optionalText(2);
    category.sort_order = int(query.integer(3));
    category.group_name = query.optionalText(4);
    category.nature = query.optionalText(5);
    category.kind = query.text(6);
    return category;
}

QString checkedName(const QString& value)
{
    const QString name = value.trimmed();
    if (name.isEmpty())
        throw ApiError::unprocessable(QStringLiteral("分类名称不能为空"));
    if (name.size() > kMaxCategoryName)
        throw ApiError::unprocessable(QStringLiteral("分类名称最多 %1 个字").arg(kMaxCategoryName));
    if (wire::FinanceCategory::isReservedName(name))
        throw ApiError::conflict(QStringLiteral("「%1」是系统保留分类").arg(name));
    return name;
}

QString checkedColor(const QString& value)
{
    static const QRegularExpression form(QStringLiteral("^#[0-9A-Fa-f]{6}$"));
    const QString color = value.trimmed();
    if (color.isEmpty())
        return kDefaultColor;
    if (!form.match(color).hasMatch())
        throw ApiError::unprocessable(QStringLiteral("颜色应为 #RRGGBB 形式：%1").arg(color.left(20)));
    return color.toUpper();
}

std::optional<QString> checkedNature(const std::optional<QString>& value)
{
    if (!value || value->trimmed().isEmpty())
        return std::nullopt;
    const QString nature = value->trimmed();
    if (nature != QStringLiteral("必要") && nature != QStringLiteral("投资") && nature != QStringLiteral("享受"))
        throw ApiError::unprocessable(QStringLiteral("性质只能是「必要」「投资」或「享受」"));
    return nature;
}

bool nameTaken(db::Connection& connection, qint64 householdId, const QString& name, qint64 exceptId)
{
    auto query = connection.prepare(
        "SELECT 1 FROM finance_categories WHERE household_id = :household AND name = :name AND id <> :id");
    query.bind(":household", householdId).bind(":name", name).bind(":id", exceptId);
    return query.step();
}

} // namespace

FinanceCategoryService::FinanceCategoryService(
    db::Database& database, HouseholdService& households, LexiconService& lexicons)
    : m_database(database)
    , m_households(households)
    , m_lexicons(lexicons)
{
}

void FinanceCategoryService::seedDefaults(db::Connection& connection, qint64 householdId)
{
    connection
        .prepare("INSERT OR IGNORE INTO finance_categories (household_id, name, color, sort_order, group_name, nature, "
                 "kind) SELECT :household, name, color, sort_order, group_name, nature, kind "
                 "FROM finance_category_defaults ORDER BY sort_order")
        .bind(":household", householdId)
        .run();
}

std::optional<CategoryRef> FinanceCategoryService::named(
    db::Connection& connection, qint64 householdId, const QString& name)
{
    auto query = connection.prepare(
        "SELECT name, kind FROM finance_categories WHERE household_id = :household AND name = :name");
    query.bind(":household", householdId).bind(":name", name);
    if (!query.step())
        return std::nullopt;
    return CategoryRef { query.text(0), query.text(1) };
}

CategoryRef FinanceCategoryService::requireNamed(db::Connection& connection, qint64 householdId, const QString& name)
{
    if (name.trimmed().isEmpty())
        throw ApiError::unprocessable(QStringLiteral("缺少分类"));
    if (auto found = named(connection, householdId, name.trimmed()))
        return *found;
    throw ApiError::unprocessable(
        QStringLiteral("没有「%1」这个分类，请先在分类管理里添加").arg(name.trimmed().left(20)));
}

wire::FinanceCategory FinanceCategoryService::requireIn(db::Connection& connection, qint64 householdId, qint64 id)
{
    auto query = connection.prepare("SELECT id, name, color, sort_order, group_name, nature, kind "
                                    "FROM finance_categories WHERE id = :id AND household_id = :household");
    query.bind(":id", id).bind(":household", householdId);
    if (!query.step())
        throw ApiError::notFound(kNoCategory);
    return categoryRow(query);
}

std::vector<wire::FinanceCategory> FinanceCategoryService::list(qint64 userId)
{
    const Household household = m_households.householdOf(userId);
    auto query = m_database.connection().prepare("SELECT id, name, color, sort_order, group_name, nature, kind "
                                                 "FROM finance_categories WHERE household_id = :household "
                                                 "ORDER BY sort_order, id");
    query.bind(":household", household.id);
    std::vector<wire::FinanceCategory> categories;
    while (query.step())
        categories.push_back(categoryRow(query));
    return categories;
}

qint64 FinanceCategoryService::create(qint64 userId, const wire::CreateCategoryRequest& request)
{
    const QString name = checkedName(request.name);
    const QString color = checkedColor(request.color);
    const QString kind = request.kind.value_or(QStringLiteral("expense"));
    if (kind != QStringLiteral("expense") && kind != QStringLiteral("income"))
        throw ApiError::unprocessable(QStringLiteral("kind 只能是 expense 或 income"));
    const std::optional<QString> nature = checkedNature(request.nature);
    const std::optional<QString> group = request.group_name
        ? std::optional(FinanceInput::text(*request.group_name, QStringLiteral("分组"), 20))
        : std::nullopt;

    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    if (nameTaken(connection, household.id, name, 0))
        throw ApiError::conflict(QStringLiteral("已有名为「%1」的分类").arg(name));
    qint64 order = 10;
    {
        auto last = connection.prepare("SELECT MAX(sort_order) FROM finance_categories "
                                       "WHERE household_id = :household AND kind = :kind AND name NOT IN "
                                       "('转账', '余额调整')");
        last.bind(":household", household.id).bind(":kind", kind);
        if (last.step() && !last.isNull(0))
            order = last.integer(0) + 1;
    }
    connection
        .prepare("INSERT INTO finance_categories (household_id, name, color, sort_order, group_name, nature, kind) "
                 "VALUES (:household, :name, :color, :order, :group, :nature, :kind)")
        .bind(":household", household.id)
        .bind(":name", name)
        .bind(":color", color)
        .bind(":order", order)
        .bind(":group", group)
        .bind(":nature", nature)
        .bind(":kind", kind)
        .run();
    const qint64 id = connection.lastInsertId();
    transaction.commit();
    m_lexicons.invalidate(household.id);
    return id;
}

void FinanceCategoryService::update(qint64 userId, qint64 id, const wire::UpdateCategoryRequest& request)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::FinanceCategory current = requireIn(connection, household.id, id);
    if (wire::FinanceCategory::isReservedName(current.name))
        throw ApiError::conflict(QStringLiteral("「%1」是系统保留分类，不能修改").arg(current.name));
    const QString name = request.name ? checkedName(*request.name) : current.name;
    if (name != current.name && nameTaken(connection, household.id, name, id))
        throw ApiError::conflict(QStringLiteral("已有名为「%1」的分类").arg(name));
    const QString color = request.color ? checkedColor(*request.color) : current.color.value_or(kDefaultColor);
    const std::optional<QString> nature = request.nature ? checkedNature(request.nature) : current.nature;
    const std::optional<QString> group = request.group_name
        ? std::optional(FinanceInput::text(*request.group_name, QStringLiteral("分组"), 20))
        : current.group_name;
    connection
        .prepare("UPDATE finance_categories SET name = :name, color = :color, sort_order = :order, "
                 "group_name = :group, nature = :nature WHERE id = :id")
        .bind(":name", name)
        .bind(":color", color)
        .bind(":order", request.sort_order.value_or(current.sort_order.value_or(1000)))
        .bind(":group", group && !group->isEmpty() ? group : std::nullopt)
        .bind(":nature", nature)
        .bind(":id", id)
        .run();
    if (name != current.name) {
        // The lines, the cards awaiting review and the keywords stay in the renamed category.
        for (const char* sql : { "UPDATE finance_transactions SET category = :new "
                                 "WHERE household_id = :household AND category = :old",
                 "UPDATE finance_pending_imports SET category = :new "
                 "WHERE household_id = :household AND category = :old",
                 "UPDATE finance_keywords SET category = :new WHERE household_id = :household AND category = :old" }) {
            connection.prepare(sql)
                .bind(":new", name)
                .bind(":old", current.name)
                .bind(":household", household.id)
                .run();
        }
    }
    transaction.commit();
    m_lexicons.invalidate(household.id);
}

void FinanceCategoryService::remove(qint64 userId, qint64 id)
{
    const Household household = m_households.householdOf(userId);
    db::Connection& connection = m_database.connection();
    db::Transaction transaction(connection);
    const wire::FinanceCategory current = requireIn(connection, household.id, id);
    if (wire::FinanceCategory::isReservedName(current.name))
        throw ApiError::conflict(QStringLiteral("「%1」是系统保留分类，不能删除").arg(current.name));
    connection.prepare("DELETE FROM finance_categories WHERE id = :id").bind(":id", id).run();
    transaction.commit();
    m_lexicons.invalidate(household.id);
}

} // namespace lumen
